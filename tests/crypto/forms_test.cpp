// The choice among forms of a routine.
#include "crypto/forms.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Answer = int (*)();
using qex::Form;
using qex::Forms;

// No processor has it.
constexpr uint32_t kNoFeature = 1u << 31;

int first() {
  return 1;
}
int second() {
  return 2;
}
int portable() {
  return 3;
}

TEST(Forms, FirstThatTheProcessorCanRunIsBest) {
  static constinit const Forms forms({Form<Answer>{"first", kNoFeature, first},
                                      Form<Answer>{"second", 0, second},
                                      Form<Answer>{"portable", 0, portable}});
  EXPECT_EQ(forms.best()(), 2);
  EXPECT_EQ(forms.best()(), 2);
}

TEST(Forms, AllFeaturesOfAFormAreNeeded) {
  const uint32_t here = qex::CpuFeatures();
  const Forms forms({Form<Answer>{"first", here | kNoFeature, first}, Form<Answer>{"second", here, second},
                     Form<Answer>{"portable", 0, portable}});
  EXPECT_EQ(forms.best()(), 2);
}

TEST(Forms, PortableFormServesEveryProcessor) {
  const Forms forms({Form<Answer>{"first", kNoFeature, first}, Form<Answer>{"portable", 0, portable}});
  EXPECT_EQ(forms.best()(), 3);
}

TEST(Forms, RowsAreListedInTheirOrder) {
  const Forms forms({Form<Answer>{"first", kNoFeature, first}, Form<Answer>{"portable", 0, portable}});
  std::string names;
  for (const Form<Answer>& form : forms) names += std::string(form.name) + " ";
  EXPECT_EQ(names, "first portable ");
}

}  // namespace
