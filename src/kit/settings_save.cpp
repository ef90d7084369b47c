#include <common/kit/settings_save.h>
#include <vorn_lnk/guid>

#include <filesystem>
#include <optional>
#include <system_error>

#include "../cancellation_pause.h"
#include "../output_file.h"

#ifdef _WIN32
#include <windows.h>

#include <vector>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#endif

namespace Common::Kit {
namespace {

namespace fs = std::filesystem;

#ifdef _WIN32

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class OpenFile {
 public:
  OpenFile(const fs::path& path, DWORD access, DWORD way) noexcept
      : handle(CreateFileW(path.c_str(), access, ShareAll, nullptr, way, FILE_ATTRIBUTE_NORMAL,
                           nullptr)) {}
  ~OpenFile() {
    if (IsOpen()) CloseHandle(handle);
  }

  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool IsOpen() const noexcept { return handle != INVALID_HANDLE_VALUE; }

  const HANDLE handle;
};

std::optional<fs::path> FollowLinks(const fs::path& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  const bool isLink =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (!isLink) return path;
  const OpenFile target(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING);
  if (!target.IsOpen()) return std::nullopt;
  std::wstring name(GetFinalPathNameByHandleW(target.handle, nullptr, 0, 0), L'\0');
  name.resize(
      GetFinalPathNameByHandleW(target.handle, name.data(), static_cast<DWORD>(name.size()), 0));
  if (name.empty()) return std::nullopt;
  return name;
}

// What is to be replaced: a regular file that may be written, or nothing yet.
class OldFile {
 public:
  explicit OldFile(const fs::path& path)
      : path(path), file(path, GENERIC_WRITE, OPEN_EXISTING), failure(GetLastError()) {}

  bool IsThere() const { return file.IsOpen(); }
  bool MayBeReplaced() const {
    return IsThere() ? GetFileType(file.handle) == FILE_TYPE_DISK : failure == ERROR_FILE_NOT_FOUND;
  }

  bool GivePermissionsTo(const fs::path& other, const OpenFile& /*other*/) const {
    return CopyAccessList(other) &&
           SetFileAttributesW(other.c_str(), GetFileAttributesW(path.c_str())) != 0;
  }

 private:
  bool CopyAccessList(const fs::path& other) const {
    constexpr SECURITY_INFORMATION What = DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    GetFileSecurityW(path.c_str(), What, nullptr, 0, &size);
    std::vector<unsigned char> list(size);
    if (GetFileSecurityW(path.c_str(), What, list.data(), size, &size) &&
        SetFileSecurityW(other.c_str(), What, list.data())) {
      return true;
    }
    const DWORD reason = GetLastError();  // some file systems have no access lists
    return reason == ERROR_NOT_SUPPORTED || reason == ERROR_INVALID_FUNCTION;
  }

  const fs::path& path;
  const OpenFile file;
  const DWORD failure;
};

OpenFile MakeFile(const fs::path& path, bool /*isPrivate*/) {
  return OpenFile(path, GENERIC_WRITE, CREATE_NEW);
}

bool FlushToDisk(const OpenFile& file) { return FlushFileBuffers(file.handle) != 0; }

bool MoveOver(const fs::path& from, const fs::path& to) {
  return MoveFileExW(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

#else

class OpenFile {
 public:
  OpenFile(const fs::path& path, int flags, mode_t mode = 0) noexcept
      : descriptor(open(path.c_str(), flags | O_CLOEXEC, mode)) {}
  ~OpenFile() {
    if (IsOpen()) close(descriptor);
  }

  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool IsOpen() const noexcept { return descriptor >= 0; }

  const int descriptor;
};

std::optional<fs::path> FollowLinks(fs::path path) {
  constexpr int MaxLinks = 40;  // as many as the system follows
  for (int links = 0; links < MaxLinks; ++links) {
    std::error_code isNoLink;
    const fs::path next = fs::read_symlink(path, isNoLink);
    if (isNoLink) return path;
    path = path.parent_path() / next;
  }
  return std::nullopt;
}

// What is to be replaced: a regular file that may be written, or nothing yet.
class OldFile {
 public:
  explicit OldFile(const fs::path& path)
      : file(path, O_WRONLY | O_NONBLOCK | O_NOFOLLOW), failure(errno) {}

  bool IsThere() const { return file.IsOpen(); }
  bool MayBeReplaced() {
    if (!IsThere()) return failure == ENOENT;
    return fstat(file.descriptor, &status) == 0 && S_ISREG(status.st_mode);
  }

  // fchown may clear permissions, so they come last.
  bool GivePermissionsTo(const fs::path& /*other*/, const OpenFile& other) const {
    constexpr auto SameOwner = static_cast<uid_t>(-1);
    constexpr mode_t Permissions = 07777;
    [[maybe_unused]] const bool keepsGroup =  // only a member may give a file to its group
        fchown(other.descriptor, status.st_uid, status.st_gid) == 0 ||
        fchown(other.descriptor, SameOwner, status.st_gid) == 0;
    return fchmod(other.descriptor, status.st_mode & Permissions) == 0;
  }

 private:
  const OpenFile file;
  const int failure;
  struct stat status {};
};

OpenFile MakeFile(const fs::path& path, bool isPrivate) {
  constexpr mode_t OwnerOnly = 0600;
  constexpr mode_t DefaultMode = 0666;  // less the umask
  return OpenFile(path, O_WRONLY | O_CREAT | O_EXCL, isPrivate ? OwnerOnly : DefaultMode);
}

bool FlushToDisk(const OpenFile& file) { return fsync(file.descriptor) == 0; }

bool MoveOver(const fs::path& from, const fs::path& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) return false;
  // Flushes the new name. If that fails, the file is still whole.
  const OpenFile folder(to.has_parent_path() ? to.parent_path() : ".", O_RDONLY | O_DIRECTORY);
  if (folder.IsOpen()) FlushToDisk(folder);
  return true;
}

#endif

// Removes the file at the end of the scope, unless it was renamed.
class ScopedRemoval {
 public:
  explicit ScopedRemoval(const fs::path& path) : path(path) {}
  ~ScopedRemoval() {
    std::error_code ignored;
    fs::remove(path, ignored);
  }

  ScopedRemoval(const ScopedRemoval&) = delete;
  ScopedRemoval& operator=(const ScopedRemoval&) = delete;

 private:
  const fs::path& path;
};

bool WriteWhole(const fs::path& path, const std::string& text) {
  OutputFile file(path, OutputFile::Mode::Replace);
  file.Write(text);
  return file.IsOpen();
}

// Closes both files before one replaces the other, as Windows requires.
bool WriteNewFile(const fs::path& path, const fs::path& target, const std::string& text) {
  OldFile old(target);
  if (!old.MayBeReplaced()) return false;
  const OpenFile file = MakeFile(path, old.IsThere());
  if (!file.IsOpen() || !WriteWhole(path, text)) return false;
  if (old.IsThere() && !old.GivePermissionsTo(path, file)) return false;
  return FlushToDisk(file);
}

}  // namespace

bool SaveSafely(Config::SConfigFile& store, const std::string& path) {
  const std::string text = store.FormatEntries(store.Entries());
  const CancellationPause pause;
  const bool holdsNul = path.find('\0') != std::string::npos;
  const std::optional<fs::path> target = FollowLinks(Vorn::PathFromUtf8(path));
  if (holdsNul || !target) return false;

  const fs::path newFile = target->parent_path() / ("settings-" + Vorn::CreateGuid() + ".tmp");
  const ScopedRemoval removal(newFile);
  return WriteNewFile(newFile, *target, text) && MoveOver(newFile, *target);
}

}  // namespace Common::Kit
