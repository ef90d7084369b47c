#pragma once

#include <ostream>
#include <string_view>

namespace Common {

// Inserts the bytes as `std::ostream::write` does: a stream that is not good takes none, a tied
// stream is flushed before, a stream with `unitbuf` is flushed after, and what goes wrong marks the
// stream bad. Width, fill and the other settings of a host's own output play no part. But nothing
// leaves the call, whatever the host's buffer throws and whichever failures the host wants thrown.
// `write` itself cannot promise that: it flushes in a destructor, where an exception ends the
// process. `pthread_cancel` waits until it returns.
void InsertQuietly(std::ostream& stream, std::string_view bytes) noexcept;

}  // namespace Common
