// The mutator of inputs that are encodings.
//
// It reads the input as elements, edits the tree and writes it again, so that the lengths of all elements
// around an edit stay right; one kind of edit makes a length wrong on purpose. Octets at the start or end of
// the input that are not elements stay unchanged, except in calls that treat the whole input as octets.
#include <algorithm>
#include <cstring>
#include <functional>
#include <random>

#include "asn1/oids.h"
#include "fuzz/support/harness.h"
#include "fuzz/support/tlv.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace qex::fuzz {
namespace {

using Random = std::minstd_rand;

size_t below(Random& random, size_t n) {
  return random() % n;
}
[[nodiscard]] bool one_in(Random& random, size_t n) {
  return below(random, n) == 0;
}

// Identifiers that decide how the library decodes a value.
constexpr const AsnOid* kIdentifiers[] = {
    &kIdSha1,
    &kIdSha256,
    &kIdSha512,
    &kIdMd5,
    &kIdSha256WithRsa,
    &kIdRsaEncryption,
    &kIdDsa,
    &kIdDsaWithSha1,
    &kIdData,
    &kIdSignedData,
    &kIdAtCommonName,
    &kIdAtCountryName,
    &kIdAtTelexNumber,
    &kIdAtFacsimileTelephoneNumber,
    &kIdAtPostalAddress,
    &kIdAtSupportedApplicationContext,
    &kIdAtUniqueIdentifier,
    &kIdAtPresentationAddress,
    &kIdAtProtocolInformation,
    &kIdAtDistinguishedName,
    &kIdAtUniqueMember,
    &kIdAuthenticodeTimeStamp,
    &kIdEmailAddress,
    &kIdTimingMetrics,
    &kIdTimingMetricsAttribute,
    &kIdTimingPolicyAttribute,
    &kIdMessageDigest,
    &kIdContentType,
    &kIdSigningTime,
    &kIdSigningCertificate,
    &kIdSigningCertificateV2,
    &kIdSignerAttributes,
    &kIdSignaturePolicy,
    &kIdExtensionRequest,
};

// A place in the tree: an element and the list that contains it.
struct Place {
  std::vector<Tlv>* siblings;
  size_t index;
  Tlv& tlv() const { return (*siblings)[index]; }
};

void collect(std::vector<Tlv>* list, std::vector<Place>* places) {
  for (size_t i = 0; i < list->size(); ++i) {
    places->push_back({list, i});
    collect(&(*list)[i].children, places);
  }
}

size_t count(const Tlv& tlv) {
  size_t n = 1;
  for (const Tlv& child : tlv.children) n += count(child);
  return n;
}

Octets some_integer(Random& random) {
  static const std::vector<Octets> kIntegers = {{},           {0},
                                                {1},          {0x7F},
                                                {0x80},       {0xFF},
                                                {0, 0x80},    {0x7F, 0xFF, 0xFF, 0xFF},
                                                {0x80, 0, 0}, {0, 0xFF, 0xFF, 0xFF, 0xFF},
                                                Octets(8, 1), {0, 0x80, 0, 0, 0, 0, 0, 0, 0},
                                                Octets(9, 1), Octets(41, 0x55),
                                                Octets(129),  Octets(520, 0x35)};
  return kIntegers[below(random, kIntegers.size())];
}

Octets some_identifier(Random& random) {
  const AsnOid& oid = *kIdentifiers[below(random, std::size(kIdentifiers))];
  return {oid.octs, oid.octs + oid.count};
}

Tlv some_element(Random& random) {
  switch (below(random, 12)) {
    case 0: return Primitive(0x05, {});
    case 1: return Primitive(0x02, some_integer(random));
    case 2: return Primitive(0x01, {uint8_t(random() & 1 ? 0xFF : 0)});
    case 3: return Primitive(0x06, some_identifier(random));
    case 4: return Constructed(0x30, {});
    case 5: return Constructed(0x31, {});
    case 6: return Primitive(0x04, Octets(below(random, 140), 0x41));
    case 7: return Primitive(0x03, {uint8_t(below(random, 10)), 0xA0});
    case 8: return Primitive(0x0C, {'x'});
    case 9: return Primitive(uint8_t(0x80 | below(random, 6)), {1});
    case 10: return Constructed(uint8_t(0xA0 | below(random, 6)), {Primitive(0x05, {})});
    default: return Primitive(0x0A, {uint8_t(below(random, 4))});
  }
}

Octets mutated_octets(Octets octets) {
  const size_t size = octets.size();
  octets.resize(size + 16);
  octets.resize(LLVMFuzzerMutate(octets.data(), size, octets.size()));
  return octets;
}

// --- Edits -----------------------------------------------------------------------
// Each changes the element at `place`, or the list that contains it. Positions of the list are valid up to
// the first change of it.

void change_content(Random& random, Tlv& tlv) {
  if (tlv.nested) return;
  if (tlv.is(0x06) && !one_in(random, 4)) {
    tlv.content = some_identifier(random);
  } else if (tlv.is(0x02) && one_in(random, 2)) {
    tlv.content = some_integer(random);
  } else {
    tlv.content = mutated_octets(std::move(tlv.content));
  }
}

void change_tag(Random& random, Tlv& tlv) {
  static constexpr uint8_t kTags[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x0C, 0x13, 0x16,
                                      0x17, 0x18, 0x1E, 0x30, 0x31, 0x80, 0x81, 0x82, 0x87, 0xA0,
                                      0xA1, 0xA2, 0xA3, 0xA4, 0x23, 0x24, 0x22, 0x61, 0x00};
  switch (below(random, 4)) {
    case 0: tlv.tag[0] = uint8_t(tlv.tag[0] ^ 0x20); break;
    case 1: tlv.tag[0] = uint8_t((tlv.tag[0] & ~0x03) | below(random, 4)); break;
    case 2: tlv.tag = {uint8_t(0x1F | (random() & 0xE0)), uint8_t(0x80 | random()), uint8_t(random())}; break;
    default: tlv.tag = {kTags[below(random, std::size(kTags))]}; break;
  }
}

// split_string makes a primitive string constructed, of components that may be constructed too.
void split_string(Random& random, Tlv& tlv, uint8_t component, int depth = 0) {
  Octets content = tlv.content;
  const bool bits = component == 0x03;
  if (tlv.nested) {
    content = tlv.lead;
    for (const Tlv& child : tlv.children) Write(child, &content);
  }
  uint8_t unused = 0;
  if (bits && !content.empty()) {
    unused = content[0];
    content.erase(content.begin());
  }
  tlv.tag[0] |= 0x20;
  tlv.nested = true;
  tlv.lead.clear();
  tlv.content.clear();
  tlv.children.clear();
  tlv.indefinite = one_in(random, 3);
  size_t at = 0;
  do {
    const size_t n =
        std::min(content.size() - at, below(random, 1 + std::max<size_t>(content.size() / 2, 4)));
    const bool last = at + n == content.size();
    Octets part(content.begin() + std::ptrdiff_t(at), content.begin() + std::ptrdiff_t(at + n));
    if (bits) part.insert(part.begin(), last ? unused : 0);
    tlv.children.push_back(Primitive(component, std::move(part)));
    if (depth < 2 && one_in(random, 4)) split_string(random, tlv.children.back(), component, depth + 1);
    at += n;
    if (n == 0 && one_in(random, 2)) break;
  } while (at < content.size());
}

void join_string(Tlv& tlv) {
  Octets content;
  for (const Tlv& child : tlv.children) {
    content.insert(content.end(), child.content.begin(), child.content.end());
  }
  tlv.tag[0] = uint8_t(tlv.tag[0] & ~0x20);
  tlv.nested = false;
  tlv.indefinite = false;
  tlv.lead.clear();
  tlv.children.clear();
  tlv.content = std::move(content);
}

void change_form(Random& random, Tlv& tlv) {
  const bool bits = tlv.is(0x03) || (!tlv.is(0x04) && one_in(random, 4));
  if (!tlv.constructed()) {
    split_string(random, tlv, bits ? 0x03 : 0x04);
  } else if (one_in(random, 4)) {
    join_string(tlv);
  } else {
    tlv.indefinite = !tlv.indefinite;
  }
}

// make_all_indefinite turns constructed elements into the form that some signers write.
void make_all_indefinite(Tlv& tlv) {
  tlv.indefinite = tlv.constructed();
  for (Tlv& child : tlv.children) make_all_indefinite(child);
}

void wrap(Random& random, Tlv& tlv) {
  const size_t times = one_in(random, 6) ? 1 + below(random, 90) : 1;
  const uint8_t tag = one_in(random, 2) ? 0x30 : one_in(random, 2) ? 0x24 : uint8_t(0xA0 | below(random, 4));
  for (size_t i = 0; i < times; ++i) {
    Tlv inner = std::move(tlv);
    tlv = Constructed(tag, {});
    tlv.children.push_back(std::move(inner));
  }
}

void lie(Random& random, Tlv& tlv) {
  static const std::vector<Octets> kLengths = {{0},
                                               {0x7F},
                                               {0x80},
                                               {0x81, 0xFF},
                                               {0x82, 0xFF, 0xFF},
                                               {0x84, 0x7F, 0xFF, 0xFF, 0xFF},
                                               {0x84, 0x80, 0, 0, 0},
                                               {0x84, 0xFF, 0xFF, 0xFF, 0xFE},
                                               {0x84, 0xFF, 0xFF, 0xFF, 0xFF},
                                               {0x85, 0, 0, 0, 0, 1},
                                               {0x81},
                                               {0xFF}};
  Tlv honest = tlv;
  honest.length.clear();
  honest.indefinite = false;
  Octets whole = Written(honest);
  size_t header = honest.tag.size();
  const size_t lengthOctets = (whole[header] & 0x80) != 0 ? 1 + (whole[header] & 0x7Fu) : 1;
  const size_t right = whole.size() - header - lengthOctets;
  switch (below(random, 4)) {
    case 0: tlv.length = LengthOctets(right + 1); break;
    case 1: tlv.length = LengthOctets(right == 0 ? 0 : right - 1); break;
    case 2: {  // the right length in a longer form: correct, but not DER
      const size_t zeros = 1 + below(random, 2);
      tlv.length = {uint8_t(0x82 + zeros)};
      tlv.length.insert(tlv.length.end(), zeros, 0);
      tlv.length.push_back(uint8_t(right >> 8));
      tlv.length.push_back(uint8_t(right));
      break;
    }
    default: tlv.length = kLengths[below(random, kLengths.size())]; break;
  }
}

// edit changes the tree at one place.
void edit(Random& random, std::vector<Tlv>* forest) {
  std::vector<Place> places;
  collect(forest, &places);
  if (places.empty()) {
    forest->push_back(some_element(random));
    return;
  }
  const Place place = places[below(random, places.size())];
  const auto here = place.siblings->begin() + std::ptrdiff_t(place.index);
  const Tlv other = places[below(random, places.size())].tlv();
  const bool small = count(other) < 400;
  switch (below(random, 16)) {
    case 0: place.siblings->erase(here); break;
    case 1:
      if (small) place.siblings->insert(here, Tlv(*here));
      break;
    case 2: std::swap(*here, (*place.siblings)[below(random, place.siblings->size())]); break;
    case 3: *here = other; break;
    case 4:
      if (small) place.siblings->insert(here, other);
      break;
    case 5: place.siblings->insert(here, some_element(random)); break;
    case 6: place.siblings->insert(here + 1, some_element(random)); break;
    case 7: *here = some_element(random); break;
    case 8: change_tag(random, *here); break;
    case 9:
    case 10: change_content(random, *here); break;
    case 11:
    case 12: change_form(random, *here); break;
    case 13: wrap(random, *here); break;
    case 14: lie(random, *here); break;
    default:
      if (one_in(random, 2)) {
        make_all_indefinite(*here);
      } else {
        std::vector<Tlv> children = std::move(here->children);
        if (children.empty()) break;
        // Its content replaces the element.
        *here = std::move(children.front());
      }
      break;
  }
}

Octets written(const std::vector<Tlv>& forest, View front, View rest) {
  Octets out(front.begin(), front.end());
  for (const Tlv& tlv : forest) Write(tlv, &out);
  out.insert(out.end(), rest.begin(), rest.end());
  return out;
}

size_t store(const Octets& out, uint8_t* data, size_t maxSize) {
  const size_t n = std::min(out.size(), maxSize);
  std::copy_n(out.begin(), n, data);
  return n;
}

}  // namespace
}  // namespace qex::fuzz

using namespace qex::fuzz;

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
  Random random(seed);
  if (one_in(random, 10)) return LLVMFuzzerMutate(data, size, maxSize);
  if (one_in(random, 40)) return below(random, size + 1);

  const View in(data, size);
  const size_t front = std::min(NotEncodings(in), size);
  std::vector<Tlv> forest;
  const size_t used = ReadForest(in.subspan(front), &forest, Inside::Open);
  Octets lead(in.begin(), in.begin() + std::ptrdiff_t(front));
  if (front != 0 && one_in(random, 20)) {
    lead.resize(LLVMFuzzerMutate(lead.data(), front, front));
  }
  const size_t edits = one_in(random, 3) ? 1 + below(random, 4) : 1;
  for (size_t i = 0; i < edits; ++i) edit(random, &forest);
  return store(written(forest, lead, in.subspan(front + used)), data, maxSize);
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* data1, size_t size1, const uint8_t* data2,
                                            size_t size2, uint8_t* out, size_t maxSize, unsigned seed) {
  Random random(seed);
  const View in1(data1, size1);
  const View in2(data2, size2);
  const size_t front1 = std::min(NotEncodings(in1), size1);
  const size_t front2 = std::min(NotEncodings(in2), size2);
  std::vector<Tlv> forest1;
  std::vector<Tlv> forest2;
  const size_t used1 = ReadForest(in1.subspan(front1), &forest1, Inside::Open);
  ReadForest(in2.subspan(front2), &forest2, Inside::Open);
  std::vector<Place> places1;
  std::vector<Place> places2;
  collect(&forest1, &places1);
  collect(&forest2, &places2);
  if (places1.empty() || places2.empty()) return store(Octets(in1.begin(), in1.end()), out, maxSize);
  places1[below(random, places1.size())].tlv() = places2[below(random, places2.size())].tlv();
  return store(written(forest1, in1.first(front1), in1.subspan(front1 + used1)), out, maxSize);
}
