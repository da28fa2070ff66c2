// One handler and a list of names that it can walk at any moment: the list only grows, and a name is taken
// out of its slot by an exchange, so that the handler and the owner never both have it.
#include "tool/base/interruption.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <mutex>

namespace qex::tool {

struct RemovedOnSignal::Slot {
  std::atomic<bool> used{true};
  std::atomic<char*> name{nullptr};
  Slot* next = nullptr;
};

namespace {

using Slot = RemovedOnSignal::Slot;

constexpr std::array kEnding{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU};

std::atomic<Slot*> firstSlot{nullptr};
std::atomic<int> holders{0};  // threads that hold signals
thread_local int heldHere = 0;
std::atomic<int> signalThatCame{0};
std::atomic<pid_t> owner{0};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<char*>::is_always_lock_free);

// Calls that are safe in a handler alone.
void end_by(int number) {
  // A child has the handler too, but not the files.
  if (::getpid() == owner) {
    for (Slot* slot = firstSlot; slot != nullptr; slot = slot->next) {
      if (const char* name = slot->name.exchange(nullptr)) ::unlink(name);
    }
  }
  std::signal(number, SIG_DFL);
  ::raise(number);
}

extern "C" void on_ending_signal(int number) {
  if (::getpid() != owner) return end_by(number);  // a child holds nothing
  const int error = errno;
  // In this order: code that holds signals after it sees that one came.
  signalThatCame = number;
  if (holders == 0) end_by(number);
  errno = error;
}

void release() {
  if (--holders == 0 && signalThatCame != 0) end_by(signalThatCame);
}

// A child starts with an empty list: the names inherited from the parent remain the parent's.
void forget_parent() {
  holders = 0;
  heldHere = 0;
  signalThatCame = 0;
  for (Slot* slot = firstSlot; slot != nullptr; slot = slot->next) slot->name = nullptr;
}

// Checked each time: a child has lost the handler, and other code may have set and reset handlers since. A
// signal that the program's caller ignores (nohup, background jobs) stays ignored.
void take_signals() {
  static std::mutex one;
  const std::lock_guard lock(one);
  if (owner != ::getpid()) {
    forget_parent();
    owner = ::getpid();
  }
  struct sigaction ending {};
  ending.sa_handler = on_ending_signal;
  ending.sa_flags = SA_RESTART;
  for (const int number : kEnding) {
    struct sigaction now {};
    if (::sigaction(number, nullptr, &now) == 0 && now.sa_handler == SIG_DFL) {
      ::sigaction(number, &ending, nullptr);
    }
  }
}

Slot* free_slot() {
  for (Slot* slot = firstSlot; slot != nullptr; slot = slot->next) {
    if (!slot->used.exchange(true)) return slot;
  }
  Slot* slot = new Slot;  // never deleted: the handler may be walking the list
  slot->next = firstSlot;
  while (!firstSlot.compare_exchange_weak(slot->next, slot)) {
  }
  return slot;
}

}  // namespace

SignalsHeld::SignalsHeld() {
  take_signals();
  if (heldHere++ != 0) return;
  ++holders;
  // The process is already ending: nothing new is begun.
  if (signalThatCame != 0) {
    release();
    for (;;) ::pause();
  }
}

SignalsHeld::~SignalsHeld() {
  if (--heldHere == 0) release();
}

RemovedOnSignal::RemovedOnSignal(const std::string& name) {
  take_signals();
  auto copy = std::make_unique<char[]>(name.size() + 1);
  std::memcpy(copy.get(), name.c_str(), name.size() + 1);
  slot_ = free_slot();
  slot_->name = copy.release();
}

RemovedOnSignal::~RemovedOnSignal() {
  // A name that the handler has taken is the handler's.
  delete[] slot_->name.exchange(nullptr);
  slot_->used = false;
}

}  // namespace qex::tool
