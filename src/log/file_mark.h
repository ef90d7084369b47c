#pragma once

#include <cstdint>
#include <filesystem>

namespace Common {

// Tells which file this is, whatever its name, and how long: a moved file stays the same, and
// another one may take its name.
struct FileMark {
  bool IsSameFile(const FileMark& other) const noexcept {
    return exists == other.exists && device == other.device && index == other.index &&
           born == other.born;
  }

  std::uint64_t exists = 0;  // 1 if a file was found
  std::uint64_t device = 0;
  std::uint64_t index = 0;  // on its device; may be reused once the file is deleted
  std::uint64_t born = 0;   // nanoseconds since 1970, 0 if unknown
  std::uint64_t length = 0;
};

// A path that holds a NUL has no file. Any thread.
FileMark LookAt(const std::filesystem::path& path) noexcept;

}  // namespace Common
