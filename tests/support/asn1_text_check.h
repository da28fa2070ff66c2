// Compares the ASN.1 texts of the headers with the descriptors that the codec follows.
#pragma once

#include <string>
#include <vector>

#include "tests/support/asn1_text.h"

namespace qex::test {

// A type of the library: the name of its record and its descriptor.
struct NamedType {
  std::string name;
  const Type* type;
};

// CompareTexts returns one line for each difference between texts and descriptors: none when every type has
// exactly one text, that text and descriptor agree or the text marks where they do not, every mark is needed,
// and every further text gives a name that another one uses.
std::vector<std::string> CompareTexts(const std::vector<HeaderText>& headers,
                                      const std::vector<NamedType>& types);

// AsText ends each of the lines and puts them together.
std::string AsText(const std::vector<std::string>& lines);

}  // namespace qex::test
