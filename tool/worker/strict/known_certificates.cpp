// A certificate is identified by all of its octets, so certificates of one token say nothing about another's.
#include "tool/worker/strict/known_certificates.h"

#include <initializer_list>
#include <map>
#include <new>

#include "tool/message/structure.h"
#include "tool/message/tags.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {
namespace {

using inspect::Element;
using inspect::Elements;
using inspect::kContext0;
using inspect::kInteger;
using inspect::kOid;
using inspect::kSequence;
using inspect::kSet;

constexpr uint8_t kIndefinite = 0x80;
constexpr size_t kMost = 64;  // certificates that are kept

[[nodiscard]] std::optional<Element> take(Elements& row, uint8_t tag) {
  const auto element = row.next(tag);
  return element && element->whole[1] != kIndefinite ? element : std::nullopt;
}

// The contents of a row when that is one element.
[[nodiscard]] std::optional<Element> only(ByteView row, uint8_t tag) {
  Elements elements(row);
  const auto element = take(elements, tag);
  return elements.empty() ? element : std::nullopt;
}

Bytes wrapped(uint8_t tag, std::initializer_list<ByteView> parts) {
  size_t length = 0;
  for (const ByteView part : parts) length += part.size();
  Bytes octets{tag};
  if (length < 0x80) {
    octets.push_back(uint8_t(length));
  } else {
    int count = 1;
    while (length >> (8 * count) != 0) ++count;
    octets.push_back(uint8_t(0x80 + count));
    for (int i = count - 1; i >= 0; --i) octets.push_back(uint8_t(length >> (8 * i)));
  }
  for (const ByteView part : parts) octets.insert(octets.end(), part.begin(), part.end());
  return octets;
}

// Whether every element of the field is a certificate; they are added to `certificates`.
[[nodiscard]] bool take_certificates(ByteView field, std::vector<ByteView>& certificates) {
  for (Elements row(field); !row.empty();) {
    const auto certificate = take(row, kSequence);
    if (!certificate) return false;
    certificates.push_back(certificate->whole);
  }
  return true;
}

using Known = std::map<Bytes, OwnedCertificate>;

Known& known() {
  static Known certificates;
  return certificates;
}

}  // namespace

std::optional<TokenParts> TakeApart(ByteView token) {
  const auto message = only(token, kSequence);
  if (!message) return std::nullopt;
  Elements outer(message->content);
  const auto type = take(outer, kOid);
  const auto content = take(outer, kContext0);
  if (!type || !content || !outer.empty()) return std::nullopt;
  const auto signedData = only(content->content, kSequence);
  if (!signedData) return std::nullopt;
  Elements fields(signedData->content);
  const auto version = take(fields, kInteger);
  const auto digests = take(fields, kSet);
  const auto signedContent = take(fields, kSequence);
  const auto certificates = take(fields, kContext0);
  TokenParts parts;
  if (!version || !digests || !signedContent || !certificates ||
      !take_certificates(certificates->content, parts.certificates)) {
    return std::nullopt;
  }
  const size_t after =
      size_t(certificates->whole.data() - signedData->content.data()) + certificates->whole.size();
  const Bytes data = wrapped(kSequence, {version->whole, digests->whole, signedContent->whole,
                                         ByteView(signedData->content).subspan(after)});
  parts.rest = wrapped(kSequence, {type->whole, wrapped(kContext0, {data})});
  return parts;
}

OwnedCertificate KnownCertificate(ByteView encoding) {
  Bytes octets = CopyOf(encoding);
  auto found = known().find(octets);
  if (found == known().end()) {
    OwnedCertificate certificate = DecodeWhole<OwnedCertificate, d2i_X509>(encoding);
    ThrowIfMemoryFailed();
    if (!certificate) return nullptr;
    if (known().size() >= kMost) known().clear();
    found = known().emplace(std::move(octets), std::move(certificate)).first;
  }
  X509_up_ref(found->second.get());
  return OwnedCertificate(found->second.get());
}

OwnedCertificates KnownCertificates(const std::vector<ByteView>& encodings) {
  OwnedCertificates row(Needed(sk_X509_new_null()));
  for (const ByteView encoding : encodings) {
    OwnedCertificate certificate = KnownCertificate(encoding);
    if (!certificate) return nullptr;
    if (sk_X509_push(row.get(), certificate.get()) <= 0) throw std::bad_alloc();
    (void)certificate.release();
  }
  return row;
}

void ForgetCertificates() {
  known().clear();
}

}  // namespace qex::tool::strict
