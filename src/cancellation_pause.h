#pragma once

#ifndef _WIN32
#include <pthread.h>
#endif

namespace Common {

// Holds `pthread_cancel` off in its scope. Cancellation unwinds the thread from any sleep or write,
// and that unwinding must not be caught nor pass through a destructor.
class CancellationPause {
 public:
  CancellationPause(const CancellationPause&) = delete;
  CancellationPause& operator=(const CancellationPause&) = delete;

#ifdef _WIN32
  CancellationPause() noexcept {}
  ~CancellationPause() {}
#else
  CancellationPause() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &stateBefore); }
  ~CancellationPause() { pthread_setcancelstate(stateBefore, nullptr); }

 private:
  int stateBefore = PTHREAD_CANCEL_ENABLE;
#endif
};

}  // namespace Common
