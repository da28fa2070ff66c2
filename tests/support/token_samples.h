// Named samples of attribute certificates and tokens, for tests that go through all of them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/support/token_parts.h"

namespace qex::test {

std::vector<std::pair<std::string, AttrCertParts>> SampleAttributeCertificates();
std::vector<std::pair<std::string, TokenParts>> SampleTokens();

}  // namespace qex::test
