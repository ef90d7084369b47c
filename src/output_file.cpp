#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#ifdef _WIN32
#include <io.h>
#include <share.h>

#include <cstdio>
#else
#include <unistd.h>
#endif

namespace Common {
namespace {

// The most that one system call takes; Windows counts in 32 bits.
constexpr std::size_t LargestWrite = 1 << 30;

#ifdef _WIN32

constexpr int TextFlag = _O_TEXT;
constexpr int BytesFlag = _O_BINARY;

int OpenDescriptor(const wchar_t* path, int modeFlags) noexcept {
  int descriptor = -1;
  _wsopen_s(&descriptor, path, _O_WRONLY | _O_CREAT | _O_NOINHERIT | modeFlags, _SH_DENYNO,
            _S_IREAD | _S_IWRITE);
  return descriptor;
}

std::ptrdiff_t WriteSome(int descriptor, std::string_view bytes) noexcept {
  const std::size_t count = std::min(bytes.size(), LargestWrite);
  return _write(descriptor, bytes.data(), static_cast<unsigned>(count));
}

bool DiskIsFull() noexcept { return errno == ENOSPC; }

bool SeekEnd(int descriptor) noexcept { return _lseeki64(descriptor, 0, SEEK_END) >= 0; }

void CloseDescriptor(int descriptor) noexcept { _close(descriptor); }

#else

constexpr int TextFlag = 0;
constexpr int BytesFlag = 0;

int OpenDescriptor(const char* path, int modeFlags) noexcept {
  constexpr mode_t defaultMode = 0666;  // less the umask
  return open(path, O_WRONLY | O_CREAT | O_CLOEXEC | modeFlags, defaultMode);
}

std::ptrdiff_t WriteSome(int descriptor, std::string_view bytes) noexcept {
  while (true) {
    const auto written = write(descriptor, bytes.data(), std::min(bytes.size(), LargestWrite));
    if (written >= 0 || errno != EINTR) return written;
  }
}

// EDQUOT means that the user's share of it is full.
bool DiskIsFull() noexcept { return errno == ENOSPC || errno == EDQUOT; }

bool SeekEnd(int descriptor) noexcept { return lseek(descriptor, 0, SEEK_END) >= 0; }

void CloseDescriptor(int descriptor) noexcept { close(descriptor); }

#endif

int FlagsOf(OutputFile::Mode mode) noexcept {
  switch (mode) {
    case OutputFile::Mode::Append:
      return O_APPEND | TextFlag;
    case OutputFile::Mode::AppendBytes:
      return O_APPEND | BytesFlag;
    default:
      return O_TRUNC | TextFlag;
  }
}

}  // namespace

bool HoldsNul(const std::filesystem::path& path) noexcept {
  return path.native().find(std::filesystem::path::value_type{}) !=
         std::filesystem::path::string_type::npos;
}

OutputFile::OutputFile(const std::filesystem::path& path, Mode mode, std::span<char> buffer,
                       MakeRoom makeRoom) noexcept
    : buffer(buffer), makeRoom(std::move(makeRoom)), descriptor(Closed) {
  if (HoldsNul(path)) return;
  descriptor = OpenDescriptor(path.c_str(), FlagsOf(mode));
  if (IsOpen() && mode == Mode::ReplaceSeekable && !SeekEnd(descriptor)) Close();
}

OutputFile::~OutputFile() {
  WriteBuffer();
  Close();
}

void OutputFile::Write(std::string_view bytes) noexcept {
  if (bytes.size() > buffer.size() - buffered) WriteBuffer();
  if (bytes.size() > buffer.size()) return WriteThrough(bytes);
  bytes.copy(buffer.data() + buffered, bytes.size());
  buffered += bytes.size();
}

void OutputFile::WriteBuffer() noexcept {
  WriteThrough({buffer.data(), buffered});
  buffered = 0;
}

void OutputFile::WriteThrough(std::string_view bytes) noexcept {
  while (IsOpen() && !bytes.empty()) {
    const std::ptrdiff_t written = WriteSome(descriptor, bytes);
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || !DiskIsFull() || !makeRoom || !makeRoom()) {
      Close();
    }
  }
}

void OutputFile::Close() noexcept {
  if (IsOpen()) CloseDescriptor(descriptor);
  descriptor = Closed;
}

}  // namespace Common
