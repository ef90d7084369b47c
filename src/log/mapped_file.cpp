#include "mapped_file.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <utility>

#include "../output_file.h"

namespace Common {
namespace {

namespace ipc = boost::interprocess;

using Handle = ipc::file_handle_t;

// Takes the place of Boost's file_mapping, whose narrow names cannot name every file.
struct Mappable {
  // NOLINTBEGIN(readability-identifier-naming): the names are Boost's
  ipc::mapping_handle_t get_mapping_handle() const {
    return ipc::ipcdetail::mapping_handle_from_file_handle(handle);
  }
  ipc::mode_t get_mode() const { return ipc::read_write; }
  // NOLINTEND(readability-identifier-naming)

  Handle handle;
};

bool WriteZeros(Handle file, std::uint64_t size) noexcept;

#ifdef _WIN32

const Handle NoFile = INVALID_HANDLE_VALUE;

bool IsRegularFile(Handle file) noexcept {
  BY_HANDLE_FILE_INFORMATION found;
  return GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &found) != 0 &&
         (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

void CloseFile(Handle file) noexcept { CloseHandle(file); }

// Others may read, so that the file can be copied or looked at.
Handle OpenExclusive(const std::filesystem::path& path) noexcept {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                  nullptr, OPEN_ALWAYS, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (file == INVALID_HANDLE_VALUE || IsRegularFile(file)) return file;
  CloseFile(file);
  return NoFile;
}

std::uint64_t SizeOf(Handle file) noexcept {
  LARGE_INTEGER size{};
  GetFileSizeEx(file, &size);
  return static_cast<std::uint64_t>(size.QuadPart);
}

OVERLAPPED At(std::uint64_t offset) noexcept {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

bool ReadAt(Handle file, std::uint64_t offset, std::span<char> bytes) noexcept {
  OVERLAPPED place = At(offset);
  DWORD count = 0;
  return ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, &place) != 0 &&
         count == bytes.size();
}

bool WriteAt(Handle file, std::uint64_t offset, std::span<const char> bytes) noexcept {
  OVERLAPPED place = At(offset);
  DWORD count = 0;
  return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, &place) != 0 &&
         count == bytes.size();
}

bool Reserve(Handle file, std::uint64_t size) noexcept { return WriteZeros(file, size); }

// Windows does not truncate a mapped file.
void TruncateTo(Handle /*file*/, std::uint64_t /*size*/) noexcept {}

// Windows does not replace an open file, so the name still belongs to this one. If another process
// opens it in between, it stays.
void RemoveAndClose(const std::filesystem::path& path, Handle file) noexcept {
  CloseFile(file);
  DeleteFileW(path.c_str());
}

#else

constexpr Handle NoFile = -1;

bool IsSameFileAt(const std::filesystem::path& path, Handle file) noexcept {
  struct stat opened {};
  struct stat found {};
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &found) == 0 &&
         opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

bool IsRegularFile(Handle file) noexcept {
  struct stat found {};
  return fstat(file, &found) == 0 && S_ISREG(found.st_mode);
}

void CloseFile(Handle file) noexcept { close(file); }

// The lock belongs to the open file, not to the process, so it stays when the host opens and closes
// the same file. If the owner deletes the file between our open and our lock, we try again.
Handle OpenExclusive(const std::filesystem::path& path) noexcept {
  constexpr mode_t defaultMode = 0666;  // less the umask
  while (true) {
    const int file =
        open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, defaultMode);
    if (file == NoFile) return NoFile;
    const bool isOurs = IsRegularFile(file) && flock(file, LOCK_EX | LOCK_NB) == 0;
    if (isOurs && IsSameFileAt(path, file)) return file;
    CloseFile(file);
    if (!isOurs) return NoFile;
  }
}

std::uint64_t SizeOf(Handle file) noexcept {
  struct stat found {};
  fstat(file, &found);
  return static_cast<std::uint64_t>(found.st_size);
}

bool ReadAt(Handle file, std::uint64_t offset, std::span<char> bytes) noexcept {
  return pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
         static_cast<ssize_t>(bytes.size());
}

// Writing beyond the process's limit would raise SIGXFSZ, which ends it.
bool IsWithinSizeLimit(std::uint64_t size) noexcept {
  rlimit limit{};
  return getrlimit(RLIMIT_FSIZE, &limit) != 0 || size <= limit.rlim_cur;
}

bool WriteAt(Handle file, std::uint64_t offset, std::span<const char> bytes) noexcept {
  return IsWithinSizeLimit(offset + bytes.size()) &&
         pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
             static_cast<ssize_t>(bytes.size());
}

#ifdef __APPLE__

bool Reserve(Handle file, std::uint64_t size) noexcept { return WriteZeros(file, size); }

#else

// From the start, since an old file, such as a copy, may have holes.
bool Reserve(Handle file, std::uint64_t size) noexcept {
  if (size > SizeOf(file) && !IsWithinSizeLimit(size)) return false;
  int failure = 0;
  do {
    failure = posix_fallocate(file, 0, static_cast<off_t>(size));
  } while (failure == EINTR);
  const bool isUnknown = failure == EINVAL || failure == EOPNOTSUPP;  // to this file system
  return isUnknown ? WriteZeros(file, size) : failure == 0;
}

#endif

// Gives back what was reserved in part.
void TruncateTo(Handle file, std::uint64_t size) noexcept {
  if (SizeOf(file) > size) static_cast<void>(ftruncate(file, static_cast<off_t>(size)) == 0);
}

void RemoveAndClose(const std::filesystem::path& path, Handle file) noexcept {
  if (IsSameFileAt(path, file)) unlink(path.c_str());
  CloseFile(file);
}

#endif

// A child's mapping would keep the file locked while the child lives, even once it is closed.
void HideFromChildren([[maybe_unused]] const ipc::mapped_region& region) noexcept {
#ifdef MADV_DONTFORK
  madvise(region.get_address(), region.get_size(), MADV_DONTFORK);
#endif
}

// For systems that cannot reserve blocks: only what is written is sure to have one.
bool WriteZeros(Handle file, std::uint64_t size) noexcept {
  static constexpr char Zeros[64 * 1024] = {};
  for (std::uint64_t end = SizeOf(file); end < size;) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(sizeof Zeros, size - end));
    if (!WriteAt(file, end, {Zeros, count})) return false;
    end += count;
  }
  return true;
}

}  // namespace

MappedFile::MappedFile(std::filesystem::path path) noexcept
    : path(std::move(path)), handle(HoldsNul(this->path) ? NoFile : OpenExclusive(this->path)) {}

MappedFile::~MappedFile() { Close(); }

bool MappedFile::IsOpen() const noexcept { return handle != NoFile; }

std::uint64_t MappedFile::Size() const noexcept { return SizeOf(handle); }

bool MappedFile::ReadStart(std::span<char> bytes) const noexcept {
  return ReadAt(handle, 0, bytes);
}

bool MappedFile::WriteStart(std::span<const char> bytes) const noexcept {
  return WriteAt(handle, 0, bytes);
}

bool MappedFile::ReserveAndMap(std::uint64_t size) noexcept {
  const CancellationPause pause;
  if (!IsOpen()) return false;
  const std::uint64_t before = Size();
  if (!Reserve(handle, size)) {
    TruncateTo(handle, before);
    return false;
  }
  try {
    ipc::mapped_region larger(Mappable{handle}, ipc::read_write, 0,
                              static_cast<std::size_t>(std::max(size, Size())));
    HideFromChildren(larger);
    region.swap(larger);
    return true;
  } catch (...) {  // interprocess_exception or bad_alloc
    return false;
  }
}

std::span<char> MappedFile::Memory() const noexcept {
  return {static_cast<char*>(region.get_address()), region.get_size()};
}

void MappedFile::Remove() noexcept {
  if (!IsOpen()) return;
  region = ipc::mapped_region();
  RemoveAndClose(path, std::exchange(handle, NoFile));
}

void MappedFile::Close() noexcept {
  if (IsOpen()) CloseFile(std::exchange(handle, NoFile));
}

}  // namespace Common
