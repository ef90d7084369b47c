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

// The file that lines are for, as the guard file keeps it.
struct GuardTarget {
  std::filesystem::path file;
  FileMark mark;              // as the file was before the lines that the guard holds
  bool isArchive = false;     // a later start has chosen the file for these lines
  std::uint64_t skipped = 0;  // which then leaves out so many bytes, as they stand elsewhere
};

// A second place for the lines that wait: the memory of a mapped file, which outlives the process.
// A single store makes each change valid, after all that the change consists of has been written,
// so the process may die at any instruction. For lines it is the store of the number of bytes in
// use, and for a target the store of which of the two targets counts.
class GuardFile final {
 public:
  // The guard file at `path` with the lines that it holds, or a new one without. Null where none
  // can be made, another process holds it, or the file is not a guard file of this version. What is
  // damaged holds no lines.
  static std::unique_ptr<GuardFile> Open(const std::filesystem::path& path);

  const std::filesystem::path& Path() const noexcept { return path; }

  // What the last run left.
  std::string_view Lines() const noexcept;
  GuardTarget Target() const;

  // Which file the lines go to. Of a path that is too long for the guard, none is kept.
  void SetTarget(const std::filesystem::path& target, const FileMark& mark, bool isArchive = false,
                 std::uint64_t skipped = 0) noexcept;

  // Takes the lines, all or none. Once there is no room for some, none is taken until `DropLines`:
  // later lines would stand behind a gap.
  void Add(std::span<const std::string> lines) noexcept;

  bool HoldsAll() const noexcept { return !isFull; }

  void DropLines() noexcept;

  // Closes the file and deletes it.
  void Remove() noexcept { file.Remove(); }

  // Closes the file and leaves it as it is.
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
