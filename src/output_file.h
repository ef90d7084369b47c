#pragma once

#include <filesystem>
#include <span>
#include <streambuf>

#include "cancellation_pause.h"

namespace Common {

// A file that is open for writing, in text mode and without locking others out. The streams of the
// standard library would do but for four things. They cut a file first and ask for memory then;
// this one allocates nothing, neither to open nor to write. They try again, on closing, to write
// what could not be written before, and so double lines; here each byte is tried once, in order,
// and after the first failure all others are dropped. They send bytes through the global locale's
// codecvt, which may change them; here bytes are bytes. And they cut a name at its first NUL, which
// makes it another file's name; here no such file can be opened.
class OutputFile final : public std::streambuf {
 public:
  enum class Mode {
    Append,
    Replace,
    ReplaceAtEnd,  // as Replace, but fails for a file without an end, such as a pipe
  };

  // Bytes are gathered in `buffer`, which must outlive this object; without one, each insertion is
  // a write of its own.
  OutputFile(const std::filesystem::path& path, Mode mode, std::span<char> buffer = {}) noexcept;

  // Writes what is left in the buffer and closes the file; a failure goes unnoticed.
  ~OutputFile() override;

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // False where the file could not be opened, and after a failed write.
  bool IsOpen() const noexcept { return descriptor != Closed; }

 protected:
  int_type overflow(int_type byte) override;
  std::streamsize xsputn(const char* bytes, std::streamsize count) override;
  int sync() override;

 private:
  static constexpr int Closed = -1;

  bool WriteBuffer() noexcept;
  bool WriteBytes(const char* bytes, std::streamsize count) noexcept;
  void Close() noexcept;

  const CancellationPause pause;  // until the file is closed
  std::span<char> buffer;
  int descriptor;
};

}  // namespace Common
