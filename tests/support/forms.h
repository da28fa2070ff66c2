// Tests of routines in several forms (crypto/forms.h) call each form that the processor can run.
//
// QEX_TEST_FORMS=list in the environment prints which these are.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "crypto/cpu.h"

namespace qex::test {

// ForEachFormHere calls `test(form)` for each form of `forms`, a table of the routine `name`, that this
// processor can run.
template <class Table, class Test>
void ForEachFormHere(const char* name, const Table& forms, const Test& test) {
  const char* const wish = std::getenv("QEX_TEST_FORMS");
  const bool list = wish != nullptr && std::string(wish) == "list";
  for (const auto& form : forms) {
    const bool here = (form.needs & ~CpuFeatures()) == 0;
    if (list) std::printf("%s: the form %s %s\n", name, form.name, here ? "runs" : "needs another processor");
    if (here) test(form);
  }
}

}  // namespace qex::test
