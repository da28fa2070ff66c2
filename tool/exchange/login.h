// User and password for HTTP, from where no list of processes shows them.
#pragma once

#include <string>

namespace qex::tool {

struct LoginOptions {
  std::string user;      // NAME:PASSWORD, or NAME: the password is asked for on the terminal
  std::string userFile;  // its first line is NAME:PASSWORD
};

// ReadLogin returns NAME:PASSWORD of the options or of QEX_TSA_USER; empty when none of them has it. Throws a
// Failure, of exit status File for a file that others may read.
std::string ReadLogin(const LoginOptions& options);

}  // namespace qex::tool
