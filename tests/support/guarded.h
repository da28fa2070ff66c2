// Memory that ends where the process may not read on, so that a single octet too many faults.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace qex::test {

// Guarded is `size` octets that end at an inaccessible page. Input is copied in; output starts filled with
// kFill. A pointer for size 0 may not be read at all.
class Guarded {
 public:
  static constexpr uint8_t kFill = 0xA5;

  explicit Guarded(size_t size) : size_(size) {
    const size_t page = size_t(sysconf(_SC_PAGESIZE));
    mapped_ = (size + page - 1) / page * page + page;
    void* const memory = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED ||
        mprotect(static_cast<uint8_t*>(memory) + mapped_ - page, page, PROT_NONE) != 0) {
      std::perror("guarded memory");
      std::abort();
    }
    base_ = static_cast<uint8_t*>(memory);
    data_ = base_ + (mapped_ - page - size);
    std::memset(data_, kFill, size);
  }
  explicit Guarded(const std::vector<uint8_t>& octets) : Guarded(octets.size()) {
    if (!octets.empty()) std::memcpy(data_, octets.data(), octets.size());
  }
  ~Guarded() { munmap(base_, mapped_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  uint8_t* data() { return data_; }
  const uint8_t* data() const { return data_; }
  uint32_t size() const { return uint32_t(size_); }
  uint8_t& operator[](size_t i) { return data_[i]; }
  uint8_t operator[](size_t i) const { return data_[i]; }
  std::vector<uint8_t> octets() const { return std::vector<uint8_t>(data_, data_ + size_); }

  // untouched returns whether every octet still holds kFill.
  [[nodiscard]] bool untouched() const {
    for (size_t i = 0; i < size_; ++i) {
      if (data_[i] != kFill) return false;
    }
    return true;
  }

 private:
  uint8_t* base_;
  uint8_t* data_;
  size_t size_;
  size_t mapped_;
};

// GuardedRecord is a record of the caller at such an end, filled with kFill or copied in.
template <class Record>
class GuardedRecord {
 public:
  GuardedRecord() : memory_(sizeof(Record)) {}
  explicit GuardedRecord(const Record& value) : memory_(sizeof(Record)) {
    std::memcpy(memory_.data(), &value, sizeof(Record));
  }

  Record* get() { return reinterpret_cast<Record*>(memory_.data()); }
  const Record* get() const { return reinterpret_cast<const Record*>(memory_.data()); }
  Record* operator->() { return get(); }
  Record& operator*() { return *get(); }
  [[nodiscard]] bool untouched() const { return memory_.untouched(); }
  std::vector<uint8_t> octets() const { return memory_.octets(); }

 private:
  Guarded memory_;
};

}  // namespace qex::test
