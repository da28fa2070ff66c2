// Finding a password.
#include "tool/exchange/login.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "tool/base/bytes.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"

namespace qex::tool {
namespace {

[[nodiscard]] bool holds_password(const std::string& login) {
  return login.find(':') != std::string::npos;
}

std::string with_password(const std::string& name) {
  if (::isatty(STDIN_FILENO) == 0) {
    throw UsageFailure(
        "user " + Quoted(name) + ": a password is missing, and there is no terminal to ask for it",
        "write NAME:PASSWORD into a file of yours alone, and name it with --user-file");
  }
  const char* password = ::getpass(("password of " + Quoted(name) + ": ").c_str());
  return name + ":" + (password == nullptr ? "" : password);
}

// A pipe has no permissions to speak of.
void refuse_file_of_all(const std::string& path) {
  struct stat status {};
  if (IsStandardStream(path) || ::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) == 0) return;
  throw Failure{ExitStatus::File, ShownPath(path) + ": holds a password, and others may read it",
                "take the permissions away with 'chmod 600', and consider a new password"};
}

std::string first_line_of(const std::string& path) {
  refuse_file_of_all(path);
  const Bytes data = ReadMessage(path);
  std::string line(data.begin(), std::ranges::find(data, uint8_t{'\n'}));
  if (line.ends_with('\r')) line.pop_back();
  if (holds_password(line)) return line;
  throw Failure{ExitStatus::Input, ShownPath(path) + ": the first line is not NAME:PASSWORD",
                "write both into the first line, with a colon between them"};
}

}  // namespace

std::string ReadLogin(const LoginOptions& options) {
  if (!options.userFile.empty()) {
    if (!options.user.empty()) {
      throw UsageFailure("--user and --user-file exclude each other", "leave one of them out");
    }
    return first_line_of(options.userFile);
  }
  std::string login = options.user;
  if (const char* variable = std::getenv("QEX_TSA_USER"); login.empty() && variable != nullptr) {
    login = variable;
  }
  return login.empty() || holds_password(login) ? login : with_password(login);
}

}  // namespace qex::tool
