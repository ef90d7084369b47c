#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace Common {
namespace {

// What one call of the system takes at most; Windows counts in 32 bits.
constexpr std::streamsize LargestWrite = 1 << 30;

#ifdef _WIN32

int OpenDescriptor(const wchar_t* path, int modeFlags) noexcept {
  return _wopen(path, _O_WRONLY | _O_CREAT | _O_TEXT | _O_NOINHERIT | modeFlags,
                _S_IREAD | _S_IWRITE);
}

std::streamsize WriteSome(int descriptor, const char* bytes, std::streamsize count) noexcept {
  return _write(descriptor, bytes, static_cast<unsigned>(std::min(count, LargestWrite)));
}

bool SeekEnd(int descriptor) noexcept { return _lseeki64(descriptor, 0, SEEK_END) >= 0; }

void CloseDescriptor(int descriptor) noexcept { _close(descriptor); }

#else

int OpenDescriptor(const char* path, int modeFlags) noexcept {
  constexpr mode_t everybody = 0666;  // less what the process's mask takes away
  return open(path, O_WRONLY | O_CREAT | O_CLOEXEC | modeFlags, everybody);
}

std::streamsize WriteSome(int descriptor, const char* bytes, std::streamsize count) noexcept {
  while (true) {
    const auto written =
        write(descriptor, bytes, static_cast<std::size_t>(std::min(count, LargestWrite)));
    if (written >= 0 || errno != EINTR) return written;
  }
}

bool SeekEnd(int descriptor) noexcept { return lseek(descriptor, 0, SEEK_END) >= 0; }

void CloseDescriptor(int descriptor) noexcept { close(descriptor); }

#endif

bool HoldsNul(const std::filesystem::path& path) noexcept {
  return path.native().find(std::filesystem::path::value_type{}) !=
         std::filesystem::path::string_type::npos;
}

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path, Mode mode,
                       std::span<char> buffer) noexcept
    : buffer(buffer), descriptor(Closed) {
  if (HoldsNul(path)) return;
  descriptor = OpenDescriptor(path.c_str(), mode == Mode::Append ? O_APPEND : O_TRUNC);
  if (!IsOpen()) return;
  setp(buffer.data(), buffer.data() + buffer.size());
  if (mode == Mode::ReplaceAtEnd && !SeekEnd(descriptor)) Close();
}

OutputFile::~OutputFile() {
  WriteBuffer();
  Close();
}

OutputFile::int_type OutputFile::overflow(int_type byte) {
  if (!WriteBuffer()) return traits_type::eof();
  if (traits_type::eq_int_type(byte, traits_type::eof())) return traits_type::not_eof(byte);
  const char inserted = traits_type::to_char_type(byte);
  return xsputn(&inserted, 1) == 1 ? byte : traits_type::eof();
}

std::streamsize OutputFile::xsputn(const char* bytes, std::streamsize count) {
  if (count > epptr() - pptr()) {
    if (!WriteBuffer()) return 0;
    if (count > epptr() - pptr()) return WriteBytes(bytes, count) ? count : 0;
  }
  traits_type::copy(pptr(), bytes, static_cast<std::size_t>(count));
  pbump(static_cast<int>(count));
  return count;
}

int OutputFile::sync() { return WriteBuffer() ? 0 : -1; }

bool OutputFile::WriteBuffer() noexcept {
  if (!WriteBytes(pbase(), pptr() - pbase())) return false;
  setp(buffer.data(), buffer.data() + buffer.size());
  return true;
}

bool OutputFile::WriteBytes(const char* bytes, std::streamsize count) noexcept {
  if (!IsOpen()) return false;
  while (count > 0) {
    const std::streamsize written = WriteSome(descriptor, bytes, count);
    if (written <= 0) {
      Close();
      return false;
    }
    bytes += written;
    count -= written;
  }
  return true;
}

// With nothing to gather bytes in, all later ones end at the closed descriptor.
void OutputFile::Close() noexcept {
  if (IsOpen()) CloseDescriptor(descriptor);
  descriptor = Closed;
  setp(nullptr, nullptr);
}

}  // namespace Common
