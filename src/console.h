#pragma once

#include <ostream>
#include <string_view>

namespace Common {

// Inserts the bytes as `std::ostream::write` does, tied stream and `unitbuf` included, but throws
// nothing, whatever the host's buffer throws and whichever failures the host wants thrown: a
// failure marks the stream bad. `write` itself flushes in a destructor, where an exception would
// end the process. `pthread_cancel` waits until it returns.
void InsertQuietly(std::ostream& stream, std::string_view bytes) noexcept;

}  // namespace Common
