// A main for targets that are built without libFuzzer: runs files, or all files of folders, through the
// target, each followed by a number of mutations that are the same in every run.
//
// usage: fuzz_NAME [-mutations=N] FILE_OR_FOLDER...
//
// The input at which a check or a sanitizer ends the process is written to the file crash-replay.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" __attribute__((weak)) size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                                                unsigned seed);

namespace {

constexpr size_t kMaxSize = 16384;

std::mt19937& random_numbers() {
  static std::mt19937 numbers;
  return numbers;
}

}  // namespace

// The function that libFuzzer offers to custom mutators: here one change of octets.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize) {
  auto& numbers = random_numbers();
  if (size == 0 || (numbers() % 4 == 0 && size < maxSize)) {
    if (size >= maxSize) return size;
    const size_t at = size == 0 ? 0 : numbers() % (size + 1);
    std::memmove(data + at + 1, data + at, size - at);
    data[at] = uint8_t(numbers());
    return size + 1;
  }
  const size_t at = numbers() % size;
  switch (numbers() % 4) {
    case 0: data[at] = uint8_t(numbers()); return size;
    case 1: data[at] = uint8_t(data[at] ^ 1u << numbers() % 8); return size;
    case 2: data[at] = uint8_t(numbers() % 2 == 0 ? 0 : 0xFF); return size;
    default: std::memmove(data + at, data + at + 1, size - at - 1); return size - 1;
  }
}

namespace {

const std::vector<uint8_t>* current = nullptr;

extern "C" void keep_input(int signal) {
  const int file = open("crash-replay", O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (file >= 0 && current != nullptr && write(file, current->data(), current->size()) >= 0) close(file);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void run(const std::vector<uint8_t>& input) {
  // An allocation of exact size, so that a sanitizer sees reads past the end.
  const std::vector<uint8_t> exact(input.begin(), input.end());
  current = &exact;
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
  current = nullptr;
}

void run_file(const std::filesystem::path& path, unsigned mutations) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<uint8_t> octets{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  run(octets);
  for (unsigned seed = 1; seed <= mutations; ++seed) {
    random_numbers().seed(seed);
    std::vector<uint8_t> mutated(kMaxSize);
    std::copy_n(octets.begin(), std::min(octets.size(), kMaxSize), mutated.begin());
    size_t size = std::min(octets.size(), kMaxSize);
    for (unsigned step = 0; step <= seed % 3; ++step) {
      size = LLVMFuzzerCustomMutator != nullptr
                 ? LLVMFuzzerCustomMutator(mutated.data(), size, kMaxSize, seed + step)
                 : LLVMFuzzerMutate(mutated.data(), size, kMaxSize);
    }
    mutated.resize(size);
    run(mutated);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  unsigned mutations = 0;
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.starts_with("-mutations=")) {
      mutations = unsigned(std::strtoul(argument.c_str() + std::strlen("-mutations="), nullptr, 10));
    } else if (std::filesystem::is_directory(argument)) {
      for (const auto& entry : std::filesystem::directory_iterator(argument)) files.push_back(entry.path());
    } else {
      files.emplace_back(argument);
    }
  }
  std::sort(files.begin(), files.end());
  std::signal(SIGABRT, keep_input);
  for (const auto& path : files) {
    if (!std::filesystem::is_regular_file(path)) {
      std::fprintf(stderr, "%s: no such file\n", path.c_str());
      return 1;
    }
    run_file(path, mutations);
  }
  std::printf("%zu files, %u mutations of each\n", files.size(), mutations);
  return files.empty() ? 1 : 0;
}
