#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <span>
#include <string_view>

#include "cancellation_pause.h"

namespace Common {

// Whether the path names nothing, because the system's calls would end it at its NUL.
bool HoldsNul(const std::filesystem::path& path) noexcept;

// A file that is open for writing, in text mode and without locking others out. The streams of the
// standard library would do but for four things. They cut a file first and ask for memory then;
// this one allocates nothing, neither to open nor to write. They try again, on closing, to write
// what could not be written before, and so double lines; here each byte is tried once, in order,
// and after the first failure all others are dropped. They send bytes through the global locale's
// codecvt, which may change them; here bytes are bytes. And they cut a name at its first NUL, which
// makes it another file's name; here no such file can be opened.
class OutputFile final {
 public:
  enum class Mode {
    Append,
    AppendBytes,  // as Append, but in binary mode
    Replace,
    ReplaceAtEnd,  // as Replace, but fails for a file without an end, such as a pipe
  };

  // Frees space on the disk, and tells whether it could. Throws nothing.
  using MakeRoom = std::function<bool()>;

  // Bytes are gathered in `buffer`, which must outlive this object; without one, each `Write` goes
  // to the file at once. Where the disk is full and room can be made, the bytes are tried again.
  OutputFile(const std::filesystem::path& path, Mode mode, std::span<char> buffer = {},
             MakeRoom makeRoom = {}) noexcept;

  // Writes what is left in the buffer and closes the file; a failure goes unnoticed.
  ~OutputFile();

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // False where the file could not be opened, and after a failed write.
  bool IsOpen() const noexcept { return descriptor != Closed; }

  // Puts the bytes behind those that were written before. Does nothing where the file is not open.
  void Write(std::string_view bytes) noexcept;

 private:
  static constexpr int Closed = -1;

  void WriteBuffer() noexcept;

  // Hands the bytes to the system, in as many writes as it takes. The first that fails closes the
  // file, so that all later ones do nothing.
  void WriteThrough(std::string_view bytes) noexcept;

  void Close() noexcept;

  const CancellationPause pause;  // until the file is closed
  const std::span<char> buffer;
  const MakeRoom makeRoom;
  std::size_t gathered = 0;  // how much of the buffer is in use
  int descriptor;
};

}  // namespace Common
