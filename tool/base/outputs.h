// The output files of a command. Problems with their names are found before anything is sent or computed; the
// files appear whole, together, and replace an older file only on request.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <list>
#include <string>
#include <vector>

#include "tool/base/bytes.h"

namespace qex::tool {

// Output is a name that a command writes to; - is standard output.
struct Output {
  std::string path;
  // Made by the tool from another name. Such a name is not followed through a link of another owner, and
  // nothing but a regular file is opened by it.
  bool found = false;
  // The output is binary, and this is the hint when it would go to a terminal; empty: it is text.
  std::string terminalHint = {};
  // Octets that are kept free for it on the disk, where the file system can do that; 0: none.
  uint64_t room = 0;
};

class OutputFile;

class Outputs {
 public:
  // Checks the names and creates the temporaries. Throws a Failure: of usage when an output leads to one of
  // `inputs` or two lead to one file, of exit status File for a name that cannot be written, and for an
  // existing file unless `force` is set.
  Outputs(const std::vector<Output>& outputs, const std::vector<std::string>& inputs, bool force);
  ~Outputs();  // without Commit nothing is left
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;

  // Commit writes the data of each output, in the order of the constructor, and gives the files their names:
  // all of them or, when it throws a Failure, none. Signals that ask the process to end take effect
  // afterwards. A pipe or device is written first and directly, and there a signal takes effect at once.
  void Commit(std::initializer_list<ByteView> data);

 private:
  std::list<OutputFile> files_;
};

}  // namespace qex::tool
