// Directory names as text: the input is two octets for the size of the field, then a DistinguishedName.
#include "api/name_text.h"

#include <cstring>

#include "api/frame.h"
#include "asn1/names.h"
#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"
#include "fuzz/support/values.h"

namespace qex::fuzz {
namespace {

void check(const AsnList& name, const std::optional<Tlv>& tlv, size_t size) {
  const Block field(size);
  std::fill_n(field.data(), size, internal::kUnwritten);
  const int32_t code = NameToText(reinterpret_cast<char*>(field.data()), size, &name);
  FUZZ_CHECK(code == 0 || code == -1, code);
  if (size == 0) return;
  const std::string text = TextOf(reinterpret_cast<const char*>(field.data()), size);
  if (!tlv) return;
  bool fitted;
  const auto expected = NameText(*tlv, size, &fitted);
  if (!expected) return;
  FUZZ_CHECK(text == *expected, text.size());
  FUZZ_CHECK(fitted == (code == 0), code);
}

}  // namespace

size_t NotEncodings(View) {
  return 2;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  FUZZ_CHECK(EnsureAsnInit(), 0);
  const Input in({data + 2, size - 2});
  ResetProcess();
  Decoded<AsnList> name;
  if (name.decode(BDecDistinguishedName, in.data(), in.size()) != 0) return 0;
  const auto tlv = SequenceIn(in.view());
  // The text just fits, and just does not.
  char text[4096];
  (void)NameToText(text, sizeof text, &name.value);
  for (size_t room = 0; room < 4; ++room) check(name.value, tlv, std::strlen(text) + room);
  check(name.value, tlv, size_t{data[0]} << 3 | data[1] >> 5);
  check(name.value, tlv, 512);
  check(name.value, tlv, 4096);
  return 0;
}

}  // namespace qex::fuzz
