// error: an alternative is a row of must() whose member is a pointer
#include "asn1/schema.h"

namespace qex {
namespace {

struct Time {
  AsnInt choice;
  union {
    AsnOcts* utcTime;
  };
};
constexpr Choice kTime = {
    "Time",
    may(FIELD(Time, utcTime), kUTCTime),
};

}  // namespace
}  // namespace qex
