// Error codes: each place where a decoder can fail has its own, and every one of them is raised.
#include "asn1/codes.h"

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "asn1/all_types.h"
#include "tests/support/codec.h"
#include "tests/support/compile_time_checks.h"
#include "tests/support/files.h"

namespace qex::test {
namespace {

// An INTEGER that names an open type; the library itself registers none.
constexpr AsnInt kTestInteger = 7001;
constexpr uint8_t kForeignTag = 0x5E;  // no type of the model has it

bool is_primitive(const Type& t) {
  return t.kind == Kind::Primitive;
}
uint8_t tag_octet(AsnTag tag) {
  return uint8_t(tag >> 24);
}

Octets sample(const Type& t);
Octets sample_content(const Type& t);

// The identifier before an open type, chosen so that 'value' below is one of its type.
Octets identifier_contents(const Type& t, const Field& f) {
  for (const Field& open : t.fields) {
    if (open.definedBy != int32_t(f.offset)) continue;
    if (open.definedByInt) return der::integer_content(kTestInteger);
    return der::oid_content("1.2.840.113549.1.9.3");
  }
  return f.type == &kAsnInt || f.type == &kEnumerated ? Octets{1} : Octets{0x2A, 3};
}

Octets open_value(const Field& f) {
  return f.definedByInt ? der::null() : der::oid("1.2.840.113549.1.7.1");
}

// One field of a record of type `t`, with its tag, and with `inner` as the tag inside an EXPLICIT one.
Octets field_sample(const Type& t, const Field& f, uint8_t inner = 0) {
  if (f.type->kind == Kind::OpenList) return der::set(open_value(f));
  Octets value;
  if (f.type->kind == Kind::Any) {
    value = open_value(f);
  } else if (f.tagging == Tagging::Implicit) {
    return der::element(tag_octet(f.tag),
                        is_primitive(*f.type) ? identifier_contents(t, f) : sample_content(*f.type));
  } else if (is_primitive(*f.type) && f.type->codec == &kBoolCodec) {
    value = der::boolean(true);
  } else if (is_primitive(*f.type) && f.type->codec == &kNullCodec) {
    value = der::null();
  } else if (is_primitive(*f.type)) {
    value = der::element(tag_octet(f.type->tag), identifier_contents(t, f));
  } else {
    value = sample(*f.type);
  }
  if (inner != 0) value[0] = inner;
  return f.tagging == Tagging::Explicit ? der::element(tag_octet(f.tag), value) : value;
}

// The fields of a record before `end`, the mandatory ones only.
Octets fields_before(const Type& t, size_t end) {
  Octets content;
  for (size_t i = 0; i < end; ++i) {
    if (t.fields[i].need == Need::Mandatory) content = der::concat(content, field_sample(t, t.fields[i]));
  }
  return content;
}

// The contents octets of a value that decodes.
Octets sample_content(const Type& t) {
  switch (t.kind) {
    case Kind::Primitive: return {0};
    case Kind::Sequence:
    case Kind::Set: return fields_before(t, t.fields.size());
    case Kind::ListOf: return sample(*t.element);
    default: return {};
  }
}

Octets sample(const Type& t) {
  if (t.kind == Kind::Choice) return field_sample(t, t.fields[0]);
  return der::element(tag_octet(t.tag), sample_content(t));
}

AsnInt code_of(const Type& t, const Octets& octets) {
  static const bool registered =
      RegisterOpenTypes() &&
      InstallAnyByInt(
          7001, kTestInteger, sizeof(AsnNull),
          [](ExpBuf** b, const void* v) { return BEncAsnNull(b, static_cast<const AsnNull*>(v)); },
          [](ExpBuf** b, void* v, AsnLen* n, AsnJmpEnv& env) {
            BDecAsnNull(b, static_cast<AsnNull*>(v), n, env);
          },
          nullptr, nullptr);
  EXPECT_TRUE(registered);
  Input input(octets);
  std::vector<uint64_t> record(t.size / 8 + 1);
  AsnLen bytes = 0;
  const Outcome outcome =
      OutcomeOf([&](AsnJmpEnv& env) { DecodeFull(t, input.handle(), record.data(), &bytes, env); });
  FreeValue(t, record.data());
  return outcome.code;
}

// An element of a list that takes more octets than its length says, where nothing inside it notices: a part
// of a constructed string, an element of a list and the value of an EXPLICIT tag may run past the length
// around them. Nothing for the types that cannot.
Octets overrunning(const Type& t, uint8_t tag) {
  switch (t.kind) {
    case Kind::Primitive:
      if (t.altTag == 0) return {};
      return der::concat(Octets{uint8_t(tag | 0x20), 1}, der::octet_string({0x61}));
    case Kind::ListOf: return der::concat(Octets{tag, 1}, sample(*t.element));
    case Kind::Choice:
      for (const Field& f : t.fields) {
        if (f.tagging == Tagging::Explicit) {
          Octets value = field_sample(t, f);
          value[1] = 1;
          return value;
        }
        const AsnTag own = f.tagging == Tagging::Implicit ? f.tag : f.type->tag;
        if (is_primitive(*f.type) && f.type->altTag != 0) return overrunning(*f.type, tag_octet(own));
      }
      return {};
    default: return {};
  }
}

bool reads_own_tag(const Field& f) {
  return f.type->kind == Kind::Any && f.tagging == Tagging::None;
}

using Cases = std::multimap<AsnInt, Octets>;  // the code of a site, an input that meets it

void add_sequence_cases(const Type& t, Cases& cases) {
  const uint8_t tag = tag_octet(t.tag);
  const Octets foreign = {kForeignTag, 0};
  for (size_t i = 0; i < t.fields.size(); ++i) {
    const Field& f = t.fields[i];
    if (f.need == Need::Mandatory && !reads_own_tag(f)) {
      cases.emplace(site_code(t, Site::Missing, i), der::element(tag, fields_before(t, i), foreign));
    }
    if (f.checksInnerTag) {
      cases.emplace(site_code(t, Site::InnerTag, i),
                    der::element(tag, fields_before(t, i), field_sample(t, f, kForeignTag)));
    }
  }
  // One octet more than the fields, the last one among them.
  const Field& last = t.fields.back();
  Octets whole = fields_before(t, t.fields.size());
  if (last.need != Need::Mandatory) whole = der::concat(whole, field_sample(t, last));
  cases.emplace(site_code(t, Site::Length), der::element(tag, whole, Octets{0}));
  if (site_code(t, Site::Trailing) != kNoCode && !reads_own_tag(last)) {
    cases.emplace(site_code(t, Site::Trailing), der::element(tag, sample_content(t), foreign));
  }
}

void add_set_cases(const Type& t, Cases& cases) {
  const uint8_t tag = tag_octet(t.tag);
  for (size_t i = 0; i < t.fields.size(); ++i) {
    if (t.fields[i].need == Need::Mandatory) cases.emplace(site_code(t, Site::Missing, i), der::element(tag));
  }
  cases.emplace(site_code(t, Site::Unexpected), der::element(tag, Octets{kForeignTag, 0}));
  cases.emplace(site_code(t, Site::Length),
                der::concat(Octets{tag, 4}, overrunning(*t.fields[0].type, tag_octet(t.fields[0].tag))));
}

void add_list_cases(const Type& t, Cases& cases) {
  const uint8_t tag = tag_octet(t.tag);
  cases.emplace(site_code(t, Site::Unexpected), der::element(tag, Octets{kForeignTag, 0}));
  cases.emplace(site_code(t, Site::Unexpected), der::element(tag, Octets{0, 0}));
  const Octets element = overrunning(*t.element, tag_octet(t.element->tag));
  if (!element.empty()) cases.emplace(site_code(t, Site::Length), der::element(tag, element));
}

// An input for every site of a type that input can reach.
Cases malformed(const Type& t) {
  Cases cases;
  if (site_code(t, Site::WrongTag) != kNoCode) {
    cases.emplace(site_code(t, Site::WrongTag), Octets{kForeignTag, 0});
  }
  if (t.kind == Kind::Sequence) add_sequence_cases(t, cases);
  if (t.kind == Kind::Set) add_set_cases(t, cases);
  if (t.kind == Kind::ListOf) add_list_cases(t, cases);
  if (t.kind == Kind::Choice) {
    cases.emplace(site_code(t, Site::Unexpected), Octets{kForeignTag, 0});
    for (size_t i = 0; i < t.fields.size(); ++i) {
      if (t.fields[i].checksInnerTag) {
        cases.emplace(site_code(t, Site::InnerTag, i), field_sample(t, t.fields[i], kForeignTag));
      }
    }
  }
  return cases;
}

// Every code of a type's run that no input raises: an open type takes any tag, and an element that
// is a SEQUENCE or a primitive of definite form compares its length itself.
struct NotReached {
  const Type* type;
  Site site;
  size_t field;
};
const NotReached kNotReached[] = {
    {&kAttributeTypeAndValue, Site::Missing, 1},
    {&kOtherCertificateFormat, Site::Missing, 1},
    {&kPolicyQualifierInfo, Site::Missing, 1},
    {&kSigPolicyQualifierInfo, Site::Missing, 1},
    {&kAlgorithmIdentifier, Site::Trailing, 0},
    {&kRelativeDistinguishedName, Site::Length, 0},
    {&kAlgorithmIdentifiers, Site::Length, 0},
    {&kExtensions, Site::Length, 0},
    {&kExtensionRequest0, Site::Length, 0},
    {&kRevokedCertificates, Site::Length, 0},
    {&kCertificateLists, Site::Length, 0},
    {&kBuiltInDomainDefinedAttributes, Site::Length, 0},
    {&kExtensionAttributes, Site::Length, 0},
    {&kX520PreferredDeliveryMethod, Site::Length, 0},
    {&kProtocolProfiles, Site::Length, 0},
    {&kAttributes, Site::Length, 0},
    {&kAttributeSequence, Site::Length, 0},
    {&kPolicyQualifiers, Site::Length, 0},
    {&kPolicies, Site::Length, 0},
    {&kESSCertIDs, Site::Length, 0},
    {&kESSCertIDv2s, Site::Length, 0},
    {&kSignerInfos, Site::Length, 0},
    {&kCertificateSet, Site::Length, 0},
    {&kSigPolicyQualifiers, Site::Length, 0},
    {&kLeapEvent, Site::Length, 0},
    {&kTimingMeticsObj, Site::Length, 0},
    {&kTimingPolicyIds, Site::Length, 0},
    {&kTimingPolicyObj, Site::Length, 0},
};

// The codes of the sites of a type, in their order.
std::vector<AsnInt> codes_of(const Type& t) {
  std::vector<AsnInt> codes = {site_code(t, Site::WrongTag)};
  for (size_t i = 0; i < t.fields.size(); ++i) {
    codes.push_back(site_code(t, Site::Missing, i));
    codes.push_back(site_code(t, Site::InnerTag, i));
  }
  for (Site site : {Site::Unexpected, Site::Length, Site::Trailing}) codes.push_back(site_code(t, site));
  std::erase(codes, AsnInt{kNoCode});
  return codes;
}

TEST(Codes, AreDistinctBetweenMinus100AndMinus677) {
  std::set<AsnInt> all;
  for (const Type* t : kAllTypes) {
    for (const AsnInt code : codes_of(*t)) {
      EXPECT_LE(code, -100) << t->name;
      EXPECT_GE(code, -677) << t->name;
      EXPECT_TRUE(all.insert(code).second) << t->name << " shares " << code;
    }
  }
}

TEST(Codes, FollowTheNamesOfTheSites) {
  EXPECT_EQ(codes_of(kTimeStampReq), (std::vector<AsnInt>{-640, -641, -642, -643, -644}));
  EXPECT_EQ(site_code(kTimeStampReq, Site::Missing, 1), -642);
  EXPECT_EQ(site_code(kTimeStampReq, Site::Missing, 2), kNoCode);
  EXPECT_EQ(site_code(kTimeStampReq, Site::Trailing), -644);
  EXPECT_EQ(site_code(kX520PresentationAddress, Site::InnerTag, 0), -273);
  EXPECT_EQ(site_code(kX520PresentationAddress, Site::Missing, 3), -276);
  EXPECT_EQ(site_code(kX520PresentationAddress, Site::InnerTag, 3), -277);
  EXPECT_EQ(site_code(kPersonalName, Site::Unexpected), -214);
}

// A type that has gained a field keeps its codes; the new site has one of another row.
TEST(Codes, AFieldInTheMiddleRenumbersNothing) {
  constexpr CodeRun kRuns[] = {{"Grown", -100, -103, "wrongTag first last length"},
                               {"Grown", -110, -111, "middle middle.tag"}};
  SiteCodes codes("Grown", kRuns);
  EXPECT_EQ(codes.next("wrongTag"), -100);
  EXPECT_EQ(codes.next("first"), -101);
  EXPECT_EQ(codes.next("middle"), -110);
  EXPECT_EQ(codes.next("middle", ".tag"), -111);
  EXPECT_EQ(codes.next("last"), -102);
  EXPECT_EQ(codes.next("length"), -103);
  codes.finish();
}

// A sample of every type decodes, or the malformed ones below would prove nothing.
TEST(Codes, TheWellFormedSampleDecodes) {
  for (const Type* t : kAllTypes) {
    EXPECT_EQ(code_of(*t, sample(*t)), 0) << t->name << ' ' << ToHex(sample(*t));
  }
}

TEST(Codes, MalformedContentsRaiseTheCodeOfTheirSite) {
  for (const Type* t : kAllTypes) {
    for (const auto& [code, octets] : malformed(*t)) {
      EXPECT_EQ(code_of(*t, octets), code) << t->name << ' ' << ToHex(octets);
    }
  }
}

TEST(Codes, EveryCodeOfARunIsRaisedOrOutOfReach) {
  std::set<AsnInt> met;
  for (const NotReached& site : kNotReached) {
    EXPECT_TRUE(met.insert(site_code(*site.type, site.site, site.field)).second);
  }
  for (const Type* t : kAllTypes) {
    for (const auto& [code, octets] : malformed(*t)) met.insert(code);
  }
  std::set<AsnInt> all;
  for (const CodeRun& run : kCodeRuns) {
    for (AsnInt i = 0; i < run.count(); ++i) all.insert(run.first - i);
  }
  EXPECT_EQ(met, all);
}

// Codes are part of the interface.
TEST(Codes, EverySiteKeepsTheCodeThatItWasReleasedWith) {
  std::set<std::vector<std::string>> sites;
  for (const CodeRun& run : kCodeRuns) {
    std::istringstream names{std::string(run.sites)};
    AsnInt code = run.first;
    for (std::string name; names >> name; --code) {
      sites.insert({std::to_string(code), std::string(run.type), name});
    }
  }
  const auto released = LinesOf("site_codes.txt");
  for (const auto& line : released) {
    EXPECT_EQ(sites.erase(line), 1u) << line[0] << ' ' << line[1] << ' ' << line[2] << " is gone";
  }
  for (const auto& line : sites) {
    ADD_FAILURE() << line[0] << ' ' << line[1] << ' ' << line[2] << " is not in the list";
  }
}

// The checks of the table, which the compiler runs for kCodeRuns.
TEST(CodeRuns, ARowNamesATypeAndStaysInTheRange) {
  constexpr AsnInt kFree = kFirstTypeCode;
  EXPECT_EQ(RefusalOf([] { check_code_run("T", kFree, kFree, kFree, kFree); }), "");
  EXPECT_EQ(RefusalOf([] { check_code_run("T", kFree, kLastTypeCode, kLastTypeCode, kFree); }), "");
  EXPECT_EQ(RefusalOf([] { check_code_run("T", kFree, kLastTypeCode - 1, kLastTypeCode - 1, kFree); }),
            "a row of kCodeRuns leaves the range of the codes of types");
  EXPECT_EQ(RefusalOf([] { check_code_run("T", kFree + 1, kFree, kFree, kFree); }),
            "the rows of kCodeRuns must fall and must not overlap");
  EXPECT_EQ(RefusalOf([] { check_code_run("", kFree, kFree, kFree, kFree); }),
            "a row of kCodeRuns names no type");
  EXPECT_EQ(RefusalOf([] { check_code_run("T", kFree, kFree - 1, kFree - 2, kFree); }),
            "a row of kCodeRuns has another last code; a new site takes a row of its own");
}

TEST(CodeRuns, ARowMayBeginRightAfterTheOneBefore) {
  constexpr CodeRun kAdjacent[] = {{"A", -100, -101, "first last"}, {"B", -102, -102, "only"}};
  EXPECT_EQ(RefusalOf([&] { (void)check_code_runs(kAdjacent); }), "");
  constexpr CodeRun kOverlapping[] = {{"A", -100, -101, "first last"}, {"B", -101, -101, "only"}};
  EXPECT_NE(RefusalOf([&] { (void)check_code_runs(kOverlapping); }), "");
}

// A site whose name only begins like that of the row has no code.
TEST(SiteCodes, ASiteHasTheWholeNameOfItsRow) {
  constexpr CodeRun kRuns[] = {{"T", -100, -100, "lengthy"}};
  EXPECT_NE(RefusalOf([&] { SiteCodes("T", kRuns).next("length"); }), "");
  EXPECT_NE(RefusalOf([&] { SiteCodes("T", kRuns).next("lengthy", ".tag"); }), "");
  EXPECT_EQ(SiteCodes("T", kRuns).next("lengthy"), -100);
}

TEST(SiteCodes, ATypeHasOneToFourRows) {
  constexpr CodeRun kRuns[] = {{"T", -100, -100, "a"},
                               {"T", -101, -101, "b"},
                               {"T", -102, -102, "c"},
                               {"T", -103, -103, "d"},
                               {"T", -104, -104, "e"}};
  EXPECT_EQ(RefusalOf([&] { SiteCodes("T", std::span(kRuns).first(4)); }), "");
  EXPECT_EQ(RefusalOf([&] { SiteCodes("T", kRuns); }), "a type has at most four rows in kCodeRuns");
  EXPECT_EQ(RefusalOf([&] { SiteCodes("U", kRuns); }), "no row of kCodeRuns names this type");
}

TEST(SiteCodes, ANameThatNoSiteTakesIsRefused) {
  constexpr const char* kText = "kCodeRuns names sites that this type does not have, or names them twice";
  constexpr CodeRun kRuns[] = {{"T", -100, -100, "a"}, {"T", -110, -110, "b"}};
  for (const char* asked : {"a", "b"}) {
    SiteCodes codes("T", kRuns);
    codes.next(asked);
    EXPECT_EQ(RefusalOf([&] { codes.finish(); }), kText);
    codes.next(asked == std::string("a") ? "b" : "a");
    EXPECT_EQ(RefusalOf([&] { codes.finish(); }), "");
  }
}

}  // namespace
}  // namespace qex::test
