// error: a CHOICE or an ANY takes no IMPLICIT tag
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
    must(FIELD(Time, utcTime), kUTCTime),
};
struct Record {
  Time* time;
};
constexpr auto kRow = must(FIELD(Record, time), kTime, implicit_tag(0));

}  // namespace
}  // namespace qex
