// Two makers of the same certificates: der.h in the first half, records and encoders in the second.
#include "tests/support/attribute_certificate_maker.h"

#include "asn1/oids.h"
#include "asn1/timing.h"
#include "asn1/timing_shapes.h"

namespace qex::test {
namespace {

constexpr const char* kCountry = "2.5.4.6";

template <class Parts, class F>
Octets each(const std::vector<Parts>& parts, F encode) {
  Octets all;
  for (const Parts& part : parts) all = der::concat(all, encode(part));
  return all;
}

Octets time_by_hand(const TimeParts& parts) {
  return der::sequence(der::big_integer(parts.major), der::big_integer(parts.fraction),
                       parts.sign.has_value() ? der::integer(*parts.sign) : Octets{});
}

Octets metrics_by_hand(const MetricsParts& parts) {
  Octets leaps;
  if (parts.leaps.has_value()) {
    leaps = der::set(each(*parts.leaps, [](const LeapParts& leap) {
      return der::sequence(time_by_hand(leap.time), der::integer(leap.action));
    }));
  }
  return der::sequence(time_by_hand(parts.ntp_time), time_by_hand(parts.offset), time_by_hand(parts.delay),
                       time_by_hand(parts.expiration), leaps);
}

Octets policy_by_hand(const PolicyParts& parts) {
  Octets identifiers, offset, delay;
  if (parts.identifiers.has_value()) {
    identifiers = der::sequence(each(*parts.identifiers, [](const PolicyIdParts& id) {
      return id.bare ? der::oid(id.identifier) : der::sequence(der::oid(id.identifier));
    }));
  }
  if (parts.max_offset.has_value()) offset = der::context(0, time_by_hand(*parts.max_offset));
  if (parts.max_delay.has_value()) delay = der::context(1, time_by_hand(*parts.max_delay));
  return der::sequence(identifiers, offset, delay);
}

// shaped puts `sets` of encoded values into the values of an attribute.
Octets shaped(Shape shape, const std::vector<std::vector<Octets>>& sets) {
  const auto as_they_are = [](const Octets& octets) { return octets; };
  Octets content;
  for (const std::vector<Octets>& values : sets) {
    if (shape == Shape::kInPlace) return values.at(0);
    const Octets joined = each(values, as_they_are);
    content = der::concat(content, shape == Shape::kNested ? der::set(joined) : joined);
  }
  return der::set(content);
}

template <class Parts, class F>
std::vector<std::vector<Octets>> encoded_sets(const std::vector<std::vector<Parts>>& sets, F encode) {
  std::vector<std::vector<Octets>> all;
  for (const std::vector<Parts>& set : sets) {
    all.emplace_back();
    for (const Parts& parts : set) all.back().push_back(encode(parts));
  }
  return all;
}

Octets name_by_hand(const NameParts& parts) {
  if (parts.choice == GeneralName::kRegisteredID) {
    return der::context_primitive(unsigned(parts.choice), der::oid_content(parts.text));
  }
  if (parts.choice != GeneralName::kDirectoryName) {
    return der::context_primitive(unsigned(parts.choice), der::octets(parts.text));
  }
  return der::context(
      4, der::sequence(each(parts.directory, [](const auto& attribute) {
        const auto& [type, text] = attribute;
        return der::set(der::sequence(
            der::oid(type), type == kCountry ? der::printable_string(text) : der::utf8_string(text)));
      })));
}

Octets names_content(const std::vector<NameParts>& names) {
  return each(names, name_by_hand);
}

Octets issuer_by_hand(const AttrCertParts& parts) {
  const Octets names = parts.issuer.has_value() ? der::sequence(names_content(*parts.issuer)) : Octets{};
  return parts.v1_form ? names : der::context(0, names);
}

// tail_by_hand is the common part of all forms, from the inner signature on.
Octets tail_by_hand(const AttrCertParts& parts) {
  return der::concat(
      der::algorithm(parts.inner_algorithm, parts.inner_null ? der::null() : Octets{}),
      der::big_integer(parts.serial),
      der::sequence(der::generalized_time(parts.not_before), der::generalized_time(parts.not_after)),
      der::sequence(
          each(parts.attributes, [](const AttributeParts& attribute) { return ByHand(attribute); })));
}

Octets signed_by_hand(const AttrCertParts& parts, const Octets& info) {
  return der::concat(info, der::algorithm(parts.outer_algorithm, der::null()),
                     der::bit_string(parts.signature, parts.signature_unused_bits));
}

}  // namespace

TimeParts Seconds(int64_t seconds, int64_t micros, std::optional<int32_t> sign) {
  return {der::integer_content(seconds), der::integer_content(micros), sign};
}

AttributeParts MetricsAttribute(const std::vector<std::vector<MetricsParts>>& sets, Shape shape,
                                const std::string& type) {
  return {type, shape, sets, {}, {}};
}
AttributeParts PolicyAttribute(const std::vector<std::vector<PolicyParts>>& sets, Shape shape) {
  return {kPolicyAttribute, shape, {}, sets, {}};
}
AttributeParts PlainAttribute() {
  return {"1.2.840.113549.1.9.3", Shape::kDirect, {}, {}, "1.2.3"};
}

NameParts DirectoryNameOf(const std::string& common_name) {
  NameParts name;
  name.directory = {{kCountry, "GB"}, {"2.5.4.10", "Example"}, {"2.5.4.3", common_name}};
  return name;
}

Octets ByHand(const AttributeParts& parts) {
  Octets values;
  if (!parts.identifier.empty()) {
    values = der::set(der::oid(parts.identifier));
  } else if (!parts.policies.empty()) {
    values = shaped(parts.shape, encoded_sets(parts.policies, policy_by_hand));
  } else {
    values = shaped(parts.shape, encoded_sets(parts.metrics, metrics_by_hand));
  }
  return der::sequence(der::oid(parts.type), values);
}

Octets ContentByHand(const AttrCertParts& parts) {
  Octets names, digest;
  if (parts.holder.has_value()) names = der::context(1, names_content(*parts.holder));
  if (parts.object_digest.has_value()) {
    digest = der::context(2, der::element(0x0A, der::integer_content(1)),
                          der::algorithm(parts.object_digest->algorithm),
                          der::bit_string(parts.object_digest->digest, parts.object_digest->unused_bits));
  }
  return signed_by_hand(parts, der::sequence(der::integer(parts.version), der::sequence(names, digest),
                                             issuer_by_hand(parts), tail_by_hand(parts)));
}

Octets ByHand(const AttrCertParts& parts) {
  return der::sequence(ContentByHand(parts));
}

Octets PublishedV1ContentByHand(const AttrCertParts& parts) {
  const Octets subject = der::context(1, der::sequence(names_content(parts.holder.value())));
  return signed_by_hand(
      parts, der::sequence(subject, der::sequence(names_content(parts.issuer.value())), tail_by_hand(parts)));
}

// --- The same as records -----------------------------------------------------------------------

namespace {

TimeValue* build_time(Records& records, const TimeParts& parts) {
  TimeValue* const time = records.make<TimeValue>();
  time->major = records.octs(parts.major);
  time->fractionalSeconds = records.octs(parts.fraction);
  if (parts.sign.has_value()) time->sign = records.make<AsnInt>(*parts.sign);
  return time;
}

TimingMetrics* build_metrics(Records& records, const MetricsParts& parts) {
  TimingMetrics* const metrics = records.make<TimingMetrics>();
  metrics->ntpTime = build_time(records, parts.ntp_time);
  metrics->offset = build_time(records, parts.offset);
  metrics->delay = build_time(records, parts.delay);
  metrics->expiration = build_time(records, parts.expiration);
  if (parts.leaps.has_value()) {
    std::vector<LeapData*> leaps;
    for (const LeapParts& leap : *parts.leaps) {
      leaps.push_back(records.make<LeapData>({build_time(records, leap.time), leap.action}));
    }
    metrics->leapEvent = records.list(leaps);
  }
  return metrics;
}

TimingPolicy* build_policy(Records& records, const PolicyParts& parts) {
  TimingPolicy* const policy = records.make<TimingPolicy>();
  if (parts.identifiers.has_value()) {
    std::vector<TimingPolicyId*> identifiers;
    for (const PolicyIdParts& id : *parts.identifiers) {
      TimingPolicyId* const element = records.make<TimingPolicyId>();
      if (id.bare) {
        element->choice = TimingPolicyId::kPolicyIdentifier;
        element->policyIdentifier = records.make<AsnOid>(records.oid(id.identifier));
      } else {
        element->choice = TimingPolicyId::kInformation;
        element->policyInformation = records.make<PolicyInformation>();
        element->policyInformation->policyIdentifier = records.oid(id.identifier);
      }
      identifiers.push_back(element);
    }
    policy->policyID = records.list(identifiers);
  }
  if (parts.max_offset.has_value()) policy->maxOffset = build_time(records, *parts.max_offset);
  if (parts.max_delay.has_value()) policy->maxDelay = build_time(records, *parts.max_delay);
  return policy;
}

// shape_of returns the library's descriptor for a value whose shape differs from that of its registered type;
// the encoder recognises a value in place of the SET by that very descriptor.
const AnyInfo* shape_of(int32_t anyId) {
  for (const OpenShape& shape : kAttributeValues.shapes) {
    if (shape.info->anyId == anyId) return shape.info;
  }
  return nullptr;
}

// add_values appends the values of one kind in their shape. `direct` describes an element of the SET, or is
// null when the registered type does.
template <class Value>
void add_values(Records& records, const AsnOid& type, Shape shape, const AnyInfo* direct,
                const std::vector<std::vector<Value*>>& sets, std::vector<AsnAny*>* values) {
  for (const std::vector<Value*>& set : sets) {
    if (shape == Shape::kNested) {
      values->push_back(records.make<AsnAny>(records.any(type, records.list(set))));
      continue;
    }
    for (Value* value : set) {
      const AsnAny any = direct == nullptr ? records.any(type, value) : AsnAny{direct, value};
      values->push_back(records.make<AsnAny>(any));
      if (shape == Shape::kInPlace) return;
    }
  }
}

template <class Parts, class F>
auto built_sets(Records& records, const std::vector<std::vector<Parts>>& sets, F build) {
  std::vector<std::vector<decltype(build(records, sets[0][0]))>> all;
  for (const std::vector<Parts>& set : sets) {
    all.emplace_back();
    for (const Parts& parts : set) all.back().push_back(build(records, parts));
  }
  return all;
}

GeneralName* build_name(Records& records, const NameParts& parts) {
  GeneralName* const name = records.make<GeneralName>();
  name->choice = parts.choice;
  if (parts.choice == GeneralName::kDirectoryName) {
    name->directoryName = BuildDirectoryName(records, parts.directory);
  } else if (parts.choice == GeneralName::kRegisteredID) {
    name->registeredID = records.make<AsnOid>(records.oid(parts.text));
  } else {
    name->dNSName = records.make<AsnOcts>(records.text(parts.text));  // one of the alternatives of this type
  }
  return name;
}

ListOf<GeneralName>* build_names(Records& records, const std::vector<NameParts>& parts) {
  std::vector<GeneralName*> names;
  for (const NameParts& part : parts) names.push_back(build_name(records, part));
  return records.list(names);
}

Holder* build_holder(Records& records, const AttrCertParts& parts) {
  Holder* const holder = records.make<Holder>();
  if (parts.holder.has_value()) holder->entityName = build_names(records, *parts.holder);
  if (parts.object_digest.has_value()) {
    ObjectDigestInfo* const info = records.make<ObjectDigestInfo>();
    info->digestedObjectType = 1;
    info->digestAlgorithm =
        BuildAlgorithm(records, parts.object_digest->algorithm, AlgorithmParameters::Absent);
    info->objectDigest = records.bits(parts.object_digest->digest, parts.object_digest->unused_bits);
    holder->objectDigestInfo = info;
  }
  return holder;
}

AttCertIssuer* build_issuer(Records& records, const AttrCertParts& parts, bool v1_form) {
  AttCertIssuer* const issuer = records.make<AttCertIssuer>();
  ListOf<GeneralName>* const names = parts.issuer.has_value() ? build_names(records, *parts.issuer) : nullptr;
  if (v1_form) {
    issuer->choice = AttCertIssuer::kV1Issuer;
    issuer->v1Form = names;
  } else {
    issuer->choice = AttCertIssuer::kV2Issuer;
    issuer->v2Form = records.make<V2Form>();
    issuer->v2Form->issuerName = names;
  }
  return issuer;
}

AttCertValidityPeriod* build_validity(Records& records, const AttrCertParts& parts) {
  return records.make<AttCertValidityPeriod>({records.text(parts.not_before), records.text(parts.not_after)});
}

ListOf<Attribute>* build_attributes(Records& records, const AttrCertParts& parts) {
  std::vector<Attribute*> attributes;
  for (const AttributeParts& attribute : parts.attributes) attributes.push_back(Build(records, attribute));
  return records.list(attributes);
}

AlgorithmParameters inner_parameters(const AttrCertParts& parts) {
  return parts.inner_null ? AlgorithmParameters::Null : AlgorithmParameters::Absent;
}

}  // namespace

AlgorithmIdentifier* BuildAlgorithm(Records& records, const std::string& identifier,
                                    AlgorithmParameters parameters) {
  AlgorithmIdentifier* const algorithm = records.make<AlgorithmIdentifier>();
  algorithm->algorithm = records.oid(identifier);
  if (parameters == AlgorithmParameters::Null) {
    algorithm->parameters = records.any(algorithm->algorithm, records.make<AsnNull>());
  }
  return algorithm;
}

Name* BuildDirectoryName(Records& records, const std::vector<std::pair<std::string, std::string>>& names) {
  std::vector<ListOf<AttributeTypeAndValue>*> rdns;
  for (const auto& [type, text] : names) {
    AttributeTypeAndValue* const attribute = records.make<AttributeTypeAndValue>();
    attribute->type = records.oid(type);
    AsnOcts* const octets = records.make<AsnOcts>(records.text(text));
    void* value = octets;
    if (type != kCountry) {
      DirectoryString* const string = records.make<DirectoryString>();
      string->choice = DirectoryString::kUtf8;
      string->utf8String = octets;
      value = string;
    }
    attribute->value = records.any(attribute->type, value);
    rdns.push_back(records.list(std::vector<AttributeTypeAndValue*>{attribute}));
  }
  Name* const name = records.make<Name>();
  name->choice = Name::kRdnSequence;
  name->rdnSequence = records.list(rdns);
  return name;
}

Attribute* Build(Records& records, const AttributeParts& parts) {
  Attribute* const attribute = records.make<Attribute>();
  attribute->type = records.oid(parts.type);
  std::vector<AsnAny*> values;
  if (!parts.identifier.empty()) {
    values.push_back(records.make<AsnAny>(
        records.any(attribute->type, records.make<AsnOid>(records.oid(parts.identifier)))));
  } else if (!parts.policies.empty()) {
    add_values(records, attribute->type, parts.shape, shape_of(kAnyTimingPolicyElement),
               built_sets(records, parts.policies, build_policy), &values);
  } else {
    const AnyInfo* direct = shape_of(kAnyTimingMetricsElement);
    if (parts.type == kSingleMetricsAttribute) {
      direct = parts.shape == Shape::kInPlace ? shape_of(kAnyTimingMetricsInPlace) : nullptr;
    }
    add_values(records, attribute->type, parts.shape, direct,
               built_sets(records, parts.metrics, build_metrics), &values);
  }
  attribute->values = records.list(values);
  return attribute;
}

AttributeCertificate* Build(Records& records, const AttrCertParts& parts) {
  AttributeCertificateInfo* const info = records.make<AttributeCertificateInfo>();
  info->version = parts.version;
  info->holder = build_holder(records, parts);
  info->issuer = build_issuer(records, parts, parts.v1_form);
  info->signature = BuildAlgorithm(records, parts.inner_algorithm, inner_parameters(parts));
  info->serialNumber = records.octs(parts.serial);
  info->attrCertValidityPeriod = build_validity(records, parts);
  info->attributes = build_attributes(records, parts);
  AttributeCertificate* const certificate = records.make<AttributeCertificate>();
  certificate->acinfo = info;
  certificate->signatureAlgorithm = BuildAlgorithm(records, parts.outer_algorithm, AlgorithmParameters::Null);
  certificate->signatureValue = records.bits(parts.signature, parts.signature_unused_bits);
  return certificate;
}

AttributeCertificateV1* BuildV1(Records& records, const AttrCertParts& parts, bool published) {
  AttributeCertificateInfoV1* const info = records.make<AttributeCertificateInfoV1>();
  info->subject = records.make<AttCertSubject>();
  if (published) {
    info->subject->choice = AttCertSubject::kSubjectName;
    info->subject->subjectName = build_names(records, parts.holder.value());
  } else {
    info->version = records.make<AsnInt>(parts.version);
    info->subject->choice = AttCertSubject::kRfc3281Holder;
    info->subject->holder = build_holder(records, parts);
  }
  info->issuer = build_issuer(records, parts, published || parts.v1_form);
  info->signature = BuildAlgorithm(records, parts.inner_algorithm, inner_parameters(parts));
  info->serialNumber = records.octs(parts.serial);
  info->attCertValidityPeriod = build_validity(records, parts);
  info->attributes = build_attributes(records, parts);
  AttributeCertificateV1* const certificate = records.make<AttributeCertificateV1>();
  certificate->acInfo = info;
  certificate->signatureAlgorithm = BuildAlgorithm(records, parts.outer_algorithm, AlgorithmParameters::Null);
  certificate->signature = records.bits(parts.signature, parts.signature_unused_bits);
  return certificate;
}

Octets ByEncoders(const AttrCertParts& parts) {
  Records records;
  const AttributeCertificate* const certificate = Build(records, parts);
  return Encoded([&](ExpBuf** b) { return BEncAttributeCertificate(b, certificate); });
}

}  // namespace qex::test
