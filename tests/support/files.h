// Files and other programs in tests.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace qex::test {

// Folder is an empty folder that is removed with its contents.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qex-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(const std::string& name) const { return (path_ / name).string(); }

  // write stores `octets` under `name` and returns the path.
  std::string write(const std::string& name, const std::vector<uint8_t>& octets) const {
    std::ofstream file(path(name), std::ios::binary);
    file.write(reinterpret_cast<const char*>(octets.data()), std::streamsize(octets.size()));
    return path(name);
  }

 private:
  std::filesystem::path path_;
};

inline std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), {});
}

// LinesOf returns the words of each line of a file of tests/data; empty lines and those that start with "#"
// are skipped. An unreadable file has no lines.
inline std::vector<std::vector<std::string>> LinesOf(const std::string& name) {
  std::ifstream file(std::string(QEX_TEST_DATA "/") + name);
  std::vector<std::vector<std::string>> lines;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    lines.emplace_back();
    for (std::string word; words >> word;) lines.back().push_back(word);
  }
  return lines;
}

// HaveProgram returns whether the shell finds `name`.
[[nodiscard]] inline bool HaveProgram(const std::string& name) {
  return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

// RunShell runs a command line and returns its exit status; `*output`, if not null, receives its output to
// both streams.
[[nodiscard]] inline int RunShell(const std::string& command, std::string* output = nullptr) {
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  std::string all;
  char block[4096];
  for (size_t n; (n = fread(block, 1, sizeof block, pipe)) > 0;) all.append(block, n);
  const int status = pclose(pipe);
  if (output != nullptr) *output = all;
  return status;
}

}  // namespace qex::test
