#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "file_mark.h"
#include "mapped_file.h"

namespace Common {

// The file that the lines belong to, as the guard file stores it.
struct GuardTarget {
  std::filesystem::path file;
  FileMark mark;              // of the file before any of the lines that the guard holds
  bool isArchive = false;     // a later start has chosen the file for these lines
  std::uint64_t skipped = 0;  // bytes that it leaves out, since another file has them
};

// A second copy of the waiting lines, in the memory of a mapped file, which outlives the process.
// The process may die at any instruction: each change is written first and then made valid by a
// single store, of `used` for lines and of `current` for a target.
class GuardFile final {
 public:
  // Opens the guard file at `path` with the lines in it, or makes a new one. Null if it cannot be
  // made, another process holds it, or it is not of this version. A damaged one has no lines.
  static std::unique_ptr<GuardFile> Open(const std::filesystem::path& path);

  const std::filesystem::path& Path() const noexcept { return path; }

  // What the last run left.
  std::string_view Lines() const noexcept;
  GuardTarget Target() const;

  // The file that the lines go to. A path that is too long for the guard is not kept.
  void SetTarget(const std::filesystem::path& target, const FileMark& mark, bool isArchive = false,
                 std::uint64_t skipped = 0) noexcept;

  // Adds all of the lines or none. Once some did not fit, it takes no more until `DropLines`, since
  // later lines would follow a gap.
  void Add(std::span<const std::string> lines) noexcept;

  bool HoldsAll() const noexcept { return !isFull; }

  void DropLines() noexcept;

  void Remove() noexcept { file.Remove(); }

  void Close() noexcept { file.Close(); }

 private:
  struct Header;

  explicit GuardFile(const std::filesystem::path& path) : path(path), file(path) {}

  bool Make() noexcept;
  bool TakeOver(std::uint64_t size) noexcept;
  bool IsGuardFile() const noexcept;
  bool IsSound(std::uint64_t size) const noexcept;
  bool MakeRoom(std::size_t count) noexcept;
  std::span<char> Text() const noexcept;
  Header& Head() const noexcept;

  const std::filesystem::path path;
  MappedFile file;
  bool isFull = false;
};

}  // namespace Common
