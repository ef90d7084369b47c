#include "crash.h"

#include <cstdlib>
#include <exception>

#include "storage.h"

namespace Harbor {
namespace {

std::terminate_handler tellWhatHappened = nullptr;

void FlushLog() {
  try {
    Log::Get()->Flush();
  } catch (...) {  // there is no log, or no longer
  }
}

[[noreturn]] void OnTerminate() {
  FlushLog();
  tellWhatHappened();
  std::abort();
}

}  // namespace

void SaveLogOnTerminate() { tellWhatHappened = std::set_terminate(OnTerminate); }

}  // namespace Harbor
