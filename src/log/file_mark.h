#pragma once

#include <cstdint>
#include <filesystem>

namespace Common {

// Which file stands at a path, and how long it is. A name does not tell: a file that was moved is
// still the same, and another one may have its name.
struct FileMark {
  bool IsSameFile(const FileMark& other) const noexcept {
    return exists == other.exists && device == other.device && index == other.index &&
           born == other.born;
  }

  std::uint64_t exists = 0;  // 1 where a file was found
  std::uint64_t device = 0;
  std::uint64_t index = 0;  // on its device; a later file may get that of one that was deleted
  std::uint64_t born = 0;   // nanoseconds since 1970, 0 where the system does not tell
  std::uint64_t length = 0;
};

// A path that holds a NUL has no file. Any thread.
FileMark LookAt(const std::filesystem::path& path) noexcept;

}  // namespace Common
