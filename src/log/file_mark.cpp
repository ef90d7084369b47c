#include "file_mark.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#endif

#include "../output_file.h"

namespace Common {
namespace {

#ifdef _WIN32

std::uint64_t Join(DWORD high, DWORD low) noexcept { return std::uint64_t{high} << 32 | low; }

FileMark ReadMark(const wchar_t* path) noexcept {
  constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file =
      CreateFileW(path, FILE_READ_ATTRIBUTES, ShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION found;
  const bool isKnown = GetFileInformationByHandle(file, &found) != 0;
  CloseHandle(file);
  if (!isKnown) return {};
  return {.exists = 1,
          .device = found.dwVolumeSerialNumber,
          .index = Join(found.nFileIndexHigh, found.nFileIndexLow),
          .length = Join(found.nFileSizeHigh, found.nFileSizeLow)};
}

#elif defined(STATX_BTIME)

FileMark ReadMark(const char* path) noexcept {
  constexpr std::uint64_t second = 1'000'000'000;
  struct statx found {};
  if (statx(AT_FDCWD, path, 0, STATX_INO | STATX_SIZE | STATX_BTIME, &found) != 0) return {};
  return {
      .exists = 1,
      .device = std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor,
      .index = found.stx_ino,
      .born = static_cast<std::uint64_t>(found.stx_btime.tv_sec) * second + found.stx_btime.tv_nsec,
      .length = found.stx_size};
}

#else

FileMark ReadMark(const char* path) noexcept {
  struct stat found {};
  if (stat(path, &found) != 0) return {};
  return {.exists = 1,
          .device = static_cast<std::uint64_t>(found.st_dev),
          .index = static_cast<std::uint64_t>(found.st_ino),
          .length = static_cast<std::uint64_t>(found.st_size)};
}

#endif

}  // namespace

FileMark LookAt(const std::filesystem::path& path) noexcept {
  return HoldsNul(path) ? FileMark{} : ReadMark(path.c_str());
}

}  // namespace Common
