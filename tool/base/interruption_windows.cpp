// One handler for Ctrl-C and for a console that is closed; the system calls it on a thread of its own.
// Whoever holds signals keeps it waiting.
// clang-format off
#include <windows.h>
// clang-format on

#include <filesystem>
#include <mutex>
#include <set>

#include "tool/base/interruption.h"
#include "tool/base/system.h"

namespace qex::tool {

struct RemovedOnSignal::Slot {
  std::filesystem::path name;
};

namespace {

// Never destroyed: the handler may run until the process has ended.
struct Files {
  std::recursive_mutex one;
  std::set<const RemovedOnSignal::Slot*> all;
};

Files& files() {
  static Files* const files = new Files;
  return *files;
}

BOOL WINAPI on_ending_signal(DWORD /*which*/) {
  files().one.lock();  // for good: nothing new is begun
  for (const RemovedOnSignal::Slot* file : files().all) ::DeleteFileW(file->name.c_str());
  return FALSE;  // the system ends the process
}

void take_signals() {
  static const BOOL taken = ::SetConsoleCtrlHandler(on_ending_signal, TRUE);
  static_cast<void>(taken);
}

}  // namespace

SignalsHeld::SignalsHeld() {
  take_signals();
  files().one.lock();
}

SignalsHeld::~SignalsHeld() {
  files().one.unlock();
}

RemovedOnSignal::RemovedOnSignal(const std::string& name) : slot_(new Slot{PathOf(name)}) {
  const SignalsHeld held;
  files().all.insert(slot_);
}

RemovedOnSignal::~RemovedOnSignal() {
  const SignalsHeld held;
  files().all.erase(slot_);
  delete slot_;
}

}  // namespace qex::tool
