// Object identifiers as text and back. The first octet chooses: contents octets (even) or a text (odd); the
// second is the size of the field, which is also tried with the usual sizes.
#include "api/oid_text.h"

#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

void check_text(View contents, size_t size) {
  const Input in(contents);
  const Block field(size);
  std::fill_n(field.data(), size, internal::kUnwritten);
  bool cut = true;
  const size_t n = OidToText(in.data(), in.size(), reinterpret_cast<char*>(field.data()), size, &cut);
  if (contents.empty()) {
    FUZZ_CHECK(n == 0 && internal::AllUnwritten(field.view()), n);
    return;
  }
  const std::string full = OidText(contents);
  FUZZ_CHECK(n == 0 || n < size || size == 0, n);
  if (size == 0) return;
  const std::string text = TextOf(reinterpret_cast<const char*>(field.data()), size);
  FUZZ_CHECK(text == full.substr(0, size - 1), text.size());
  FUZZ_CHECK(cut == (full.size() > size - 1), full.size());
  const bool whole = (contents.back() & 0x80) == 0 || contents.size() == 1;
  if (!cut) FUZZ_CHECK(n == (whole ? full.size() : 0), n);
}

// A text that the library makes from small arcs names the same identifier.
void check_way_back(View contents) {
  const std::string text = OidText(contents);
  const Octets octets = TextOid(text);
  Block out(kMaxOidOctets);
  const uint32_t n = TextToOid(text.c_str(), out.data());
  FUZZ_CHECK(n == octets.size(), n);
  FUZZ_CHECK(std::equal(octets.begin(), octets.end(), out.data()), n);
}

void check_octets(View input) {
  const std::string text(input.begin(), std::find(input.begin(), input.end(), uint8_t{0}));
  const Block in(text.size() + 1);
  std::copy(text.begin(), text.end(), in.data());
  in.data()[text.size()] = 0;
  const Octets expected = TextOid(text);
  FUZZ_CHECK(expected.size() <= kMaxOidOctets, expected.size());
  const Block out(kMaxOidOctets);
  const uint32_t n = TextToOid(reinterpret_cast<const char*>(in.data()), out.data());
  FUZZ_CHECK(n == expected.size(), n);
  FUZZ_CHECK(std::equal(expected.begin(), expected.end(), out.data()), n);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const View rest(data + 2, size - 2);
  if ((data[0] & 1) != 0) {
    check_octets(rest);
    return 0;
  }
  check_text(rest, data[1]);
  check_text(rest, 128);
  check_text(rest, 2048);
  check_way_back(rest);
  return 0;
}

}  // namespace qex::fuzz
