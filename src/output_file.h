#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <span>
#include <string_view>

#include "cancellation_pause.h"

namespace Common {

// Whether the path holds a NUL, at which the system would cut it to another file's name.
bool HoldsNul(const std::filesystem::path& path) noexcept;

// A file that is open for writing, in text mode and without locking others out. Unlike a stream of
// the standard library, it allocates nothing, so it cannot run out of memory after it has truncated
// the file. It tries each byte once, in order, and drops the rest after a failure; a stream tries
// again when it is closed, and so doubles lines. It does not send the bytes through the global
// locale's codecvt. And it opens nothing for a name that holds a NUL.
class OutputFile final {
 public:
  enum class Mode {
    Append,
    AppendBytes,  // as Append, but in binary mode
    Replace,
    ReplaceSeekable,  // as Replace, but fails if the file cannot seek, as a pipe
  };

  // Frees space on the disk, and returns whether it could. Throws nothing.
  using MakeRoom = std::function<bool()>;

  // Gathers the bytes in `buffer`, which must outlive this object; without one, each `Write` goes
  // to the file at once. On a full disk it calls `makeRoom` and, if that helped, tries again.
  OutputFile(const std::filesystem::path& path, Mode mode, std::span<char> buffer = {},
             MakeRoom makeRoom = {}) noexcept;

  // Writes what is left in the buffer and closes the file; a failure goes unnoticed.
  ~OutputFile();

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // False if the file could not be opened, and after a failed write.
  bool IsOpen() const noexcept { return descriptor != Closed; }

  // Appends to the bytes written before. Does nothing if the file is not open.
  void Write(std::string_view bytes) noexcept;

 private:
  static constexpr int Closed = -1;

  void WriteBuffer() noexcept;

  // Writes past the buffer. A failure closes the file, so that later writes do nothing.
  void WriteThrough(std::string_view bytes) noexcept;

  void Close() noexcept;

  const CancellationPause pause;  // until the file is closed
  const std::span<char> buffer;
  const MakeRoom makeRoom;
  std::size_t buffered = 0;  // bytes in the buffer
  int descriptor;
};

}  // namespace Common
