#pragma once

#include <boost/interprocess/mapped_region.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace Common {

// A regular file that this process alone has open for writing, mapped into memory. The system
// releases it when the process ends, however it ends. A child made by `fork` does not inherit the
// mapping, and must close the file so that it is released.
class MappedFile final {
 public:
  // Opens the file, or makes an empty one. Links are not followed.
  explicit MappedFile(std::filesystem::path path) noexcept;

  ~MappedFile();

  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  // False if it is not a regular file, cannot be opened, or is open in another process.
  bool IsOpen() const noexcept;

  std::uint64_t Size() const noexcept;

  // Both work from the start of the file, and return false unless all bytes were read or written.
  bool ReadStart(std::span<char> bytes) const noexcept;
  bool WriteStart(std::span<const char> bytes) const noexcept;

  // Makes the file at least `size` long and maps it whole. Every block is reserved on the disk,
  // since a write to mapped memory without one would end the process. The memory may move. Returns
  // false, with the memory unchanged, if it cannot.
  bool ReserveAndMap(std::uint64_t size) noexcept;

  // Empty before the first `ReserveAndMap`.
  std::span<char> Memory() const noexcept;

  // Closes the file and deletes it, unless another one has taken its name.
  void Remove() noexcept;

  // Closes the file. Its memory stays mapped while this object lives.
  void Close() noexcept;

 private:
  using Handle = boost::interprocess::file_handle_t;

  const std::filesystem::path path;
  Handle handle;
  boost::interprocess::mapped_region region;
};

}  // namespace Common
