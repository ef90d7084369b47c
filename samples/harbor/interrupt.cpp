#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace Harbor {
namespace {

// Atomic, since Windows calls the handler on a thread of its own.
std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a handler must not wait for a lock");

void OnSignal(int /*signal*/) {
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  interrupted = true;
}

}  // namespace

void CatchInterrupts() {
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
#ifndef _WIN32
  std::signal(SIGPIPE, SIG_IGN);
#endif
}

bool IsInterrupted() { return interrupted; }

}  // namespace Harbor
