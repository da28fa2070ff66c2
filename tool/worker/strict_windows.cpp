// The build for Windows is without libcrypto, and so without the strict reader of tokens: what it would find
// is left out, and nothing replaces it. A reply's own fields need no libcrypto (strict/reply.cpp).
#include "tool/worker/inspect/describe.h"
#include "tool/worker/strict/strict.h"

namespace qex::tool {

bool HasStrictReader() {
  return false;
}

StrictReading ReadStrictly(ByteView /*token*/, const Trust& /*trust*/, bool /*allowWeak*/) {
  throw Stop{"the strict reader is left out of qex for Windows"};
}

void CheckTrust(const Trust& trust) {
  if (!trust.Any()) return;
  throw Failure{ExitStatus::Internal, "trust options are left out of qex for Windows", "run qex on Linux"};
}

std::vector<ExtensionText> DescribeExtensions(ByteView /*certificate*/) {
  return {};
}

SignerKey KeyOf(ByteView certificate) {
  return inspect::InspectKey(certificate);
}

}  // namespace qex::tool
