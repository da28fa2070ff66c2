// compiles: what the other files of this folder do wrong, done right
#include "asn1/all_types.h"

namespace qex {
namespace {

struct Time {
  AsnInt choice;
  union {
    AsnOcts* utcTime;
  };
};
constexpr Choice kTimeOfOneForm = {
    "Time",
    must(FIELD(Time, utcTime), kUTCTime),
};

struct Record {
  AsnInt* number;
  AsnBool* flag;
  AsnNull* nothing;
  Time* time;
};
constexpr auto kNumber = may(FIELD(Record, number), kAsnInt, implicit_tag(30));
constexpr auto kFlag = may(FIELD(Record, flag), kAsnBool);
constexpr auto kNothing = may(FIELD(Record, nothing), kAsnNull);
constexpr auto kTimeRow = may(FIELD(Record, time), kTimeOfOneForm, explicit_tag(0));

struct Open {
  AsnOid type;
  AsnOcts between;
  AsnAny value;
};
constexpr Sequence kOpen = {
    "AttributeTypeAndValue",
    must(FIELD(Open, type), kAsnOid),
    may(FIELD(Open, between), kAsnOcts),
    defined_by(FIELD(Open, type), must(FIELD(Open, value), kAsnAny, explicit_tag(0))),
};

struct Person {
  AsnOcts surname;
};
constexpr auto kGivenName = may(FIELD(Person, surname), kPrintableString);
constexpr Set kPerson = {"PersonalName", must(FIELD(Person, surname), kPrintableString), kGivenName};
constexpr Set kPersonOf32Fields = {
    "PersonalName", must(FIELD(Person, surname), kPrintableString),
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,     kGivenName,
    kGivenName,
};

constexpr auto kCertificates = may(FIELD(SignedData, certificates), kCertificateSet, implicit_tag(0));

constexpr AsnInt codes_by_two_rows() {
  constexpr CodeRun kRuns[] = {{"Grown", -100, -101, "wrongTag last"}, {"Grown", -110, -110, "middle"}};
  static_assert(check_code_runs(kRuns));
  SiteCodes codes("Grown", kRuns);
  codes.next("wrongTag");
  codes.next("middle");
  const AsnInt code = codes.next("last");
  codes.finish();
  return code;
}
static_assert(codes_by_two_rows() == -101);
static_assert(all_types_are_listed(kAllTypes));

}  // namespace
}  // namespace qex
