#include "crash.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include "storage.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace Harbor {
namespace {

constexpr std::pair<int, const char*> Crashes[] = {
    {SIGABRT, "SIGABRT"}, {SIGFPE, "SIGFPE"}, {SIGILL, "SIGILL"}, {SIGSEGV, "SIGSEGV"},
#ifndef _WIN32
    {SIGBUS, "SIGBUS"},
#endif
};

std::terminate_handler tellWhatHappened = nullptr;

void FlushLog() {
  try {
    Log::Get()->Flush();
  } catch (...) {  // there is no log, or no log any more
  }
}

[[noreturn]] void OnTerminate() {
  FlushLog();
  tellWhatHappened();
  std::abort();
}

void Tell(const char* text) {
  constexpr int standardError = 2;
  [[maybe_unused]] const auto written =
      write(standardError, text, static_cast<unsigned>(std::strlen(text)));
}

// A signal may come in the middle of a log call or an allocation, so a handler must call nothing
// that takes a lock or memory: no log, no stream, not even printf. What the system lists as safe is
// enough. The default action, which follows, tells the parent what ended the process.
void OnCrash(int signal) {
  Tell("harbor: ended by ");
  for (const auto& [number, name] : Crashes) {
    if (number == signal) Tell(name);
  }
  Tell("; the next start completes the log\n");
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

#ifdef _WIN32

void CatchCrash(int signal) { std::signal(signal, OnCrash); }

#else

// Gives the handler a stack of its own, since this thread's may be what ran out.
void CatchCrash(int signal) {
  static char memory[1 << 16];
  stack_t stack{};
  stack.ss_sp = memory;
  stack.ss_size = sizeof(memory);
  sigaltstack(&stack, nullptr);
  struct sigaction action {};
  action.sa_handler = OnCrash;
  action.sa_flags = SA_ONSTACK;
  sigaction(signal, &action, nullptr);
}

#endif

}  // namespace

void TellOfCrashes() {
  tellWhatHappened = std::set_terminate(OnTerminate);
  for (const auto& [signal, name] : Crashes) CatchCrash(signal);
}

}  // namespace Harbor
