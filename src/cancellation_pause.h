#pragma once

#ifndef _WIN32
#include <pthread.h>
#endif

namespace Common {

// While it lives, `pthread_cancel` waits. It ends a thread by an unwinding that may neither be
// caught nor pass through a destructor, and any sleep, or write to a console or a file, may be
// where it begins.
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
