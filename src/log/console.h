#pragma once

#include <ostream>
#include <string_view>

#ifndef _WIN32
#include <pthread.h>
#endif

namespace Common {

// Inserts the bytes as `std::ostream::write` does: a stream that is not good takes none, a tied
// stream is flushed before, a stream with `unitbuf` is flushed after, and what goes wrong marks the
// stream bad. Width, fill and the other settings of a host's own output play no part. But nothing
// leaves the call, whatever the host's buffer throws and whichever failures the host wants thrown.
// `write` itself cannot promise that: it flushes in a destructor, where an exception ends the
// process.
void InsertQuietly(std::ostream& stream, std::string_view bytes) noexcept;

// While it lives, `pthread_cancel` waits. It ends a thread by an unwinding that may neither be
// caught nor pass through a destructor, and any write to a console or a file may be where it
// begins.
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
