#include "console.h"

#include "cancellation_pause.h"

namespace Common {
namespace {

// setstate sets the bit before it throws for a host that asked for exceptions.
void MarkBad(std::ostream& stream) noexcept {
  try {
    stream.setstate(std::ios::badbit);
  } catch (...) {
  }
}

// A good stream has a buffer.
void FlushQuietly(std::ostream& stream) noexcept {
  if (!stream.good()) return;
  try {
    if (stream.rdbuf()->pubsync() == -1) MarkBad(stream);
  } catch (...) {
    MarkBad(stream);
  }
}

}  // namespace

void InsertQuietly(std::ostream& stream, std::string_view bytes) noexcept {
  const CancellationPause pause;
  if (!stream.good()) return;
  if (stream.tie() != nullptr) FlushQuietly(*stream.tie());
  try {
    const auto size = static_cast<std::streamsize>(bytes.size());
    if (stream.rdbuf()->sputn(bytes.data(), size) != size) MarkBad(stream);
  } catch (...) {
    MarkBad(stream);
  }
  if ((stream.flags() & std::ios::unitbuf) != 0) FlushQuietly(stream);
}

}  // namespace Common
