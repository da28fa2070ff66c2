// error: a SET has at most 32 fields
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOcts surname;
};
constexpr auto kRow = may(FIELD(Record, surname), kPrintableString);
constexpr Set kRecord = {
    "PersonalName", kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow,
    kRow,           kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow,
    kRow,           kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow, kRow,
};

}  // namespace
}  // namespace qex
