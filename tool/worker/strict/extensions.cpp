// The extensions of a certificate in words, by libcrypto's printers.
#include <openssl/objects.h>

#include "tool/message/oid_text.h"
#include "tool/worker/strict/libcrypto.h"
#include "tool/worker/strict/strict.h"

namespace qex::tool {
namespace {

using namespace strict;

std::string name_of(const ASN1_OBJECT* identifier) {
  const std::string dotted = inspect::DecodeOid(OctetsOf(identifier));
  const int nid = OBJ_obj2nid(identifier);
  if (inspect::OidName(dotted) != nullptr || nid == NID_undef) return inspect::NamedOid(dotted);
  return std::string(OBJ_nid2ln(nid)) + " (" + dotted + ")";
}

// The lines of a text in one, without the blanks around each.
std::string in_one_line(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    const size_t first = part.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) continue;
    part = part.substr(first, part.find_last_not_of(" \t\r") - first + 1);
    if (!line.empty()) line += "; ";
    line += part;
  }
  return line;
}

std::string value_of(X509_EXTENSION* extension) {
  const OwnedBio out(Needed(BIO_new(BIO_s_mem())));
  const bool printed = X509V3_EXT_print(out.get(), extension, X509V3_EXT_DEFAULT, 0) == 1;
  ThrowIfMemoryFailed();
  if (!printed) return ToHex(OctetsOf(X509_EXTENSION_get_data(extension)));
  const char* text = nullptr;
  const long length = BIO_get_mem_data(out.get(), &text);
  return length <= 0 ? "" : in_one_line({text, size_t(length)});
}

}  // namespace

std::vector<ExtensionText> DescribeExtensions(ByteView certificate) {
  Start();
  std::vector<ExtensionText> texts;
  const auto decoded = DecodeWhole<OwnedCertificate, d2i_X509>(certificate);
  for (int i = 0; decoded && i < X509_get_ext_count(decoded.get()); ++i) {
    X509_EXTENSION* extension = X509_get_ext(decoded.get(), i);
    texts.push_back({name_of(X509_EXTENSION_get_object(extension)),
                     X509_EXTENSION_get_critical(extension) != 0, value_of(extension)});
  }
  ThrowIfMemoryFailed();
  return texts;
}

}  // namespace qex::tool
