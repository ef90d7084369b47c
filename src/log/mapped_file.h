#pragma once

#include <boost/interprocess/mapped_region.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace Common {

// A regular file that this process alone has open for writing, and that it maps into its memory.
// The system releases the file when the process ends, however it ends, and whether or not children
// made by `fork` live on: they have none of the memory, and must close the file.
class MappedFile final {
 public:
  // Opens the file, or makes an empty one. Links are not followed.
  explicit MappedFile(std::filesystem::path path) noexcept;

  // Closes the file, which stays.
  ~MappedFile();

  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  // False for what is no regular file, cannot be opened, or is open in another process.
  bool IsOpen() const noexcept;

  std::uint64_t Size() const noexcept;

  // From the start of the file; false unless all bytes were read or written.
  bool ReadStart(std::span<char> bytes) const noexcept;
  bool WriteStart(std::span<const char> bytes) const noexcept;

  // Makes the file at least so long, with every byte in a block of its own on the disk, and maps it
  // whole. A write to mapped memory that finds no block would end the process. The memory may have
  // moved afterwards. False where it cannot, and then the memory is as before.
  bool ReserveAndMap(std::uint64_t size) noexcept;

  // The mapped memory of this process, empty before the first `ReserveAndMap`.
  std::span<char> Memory() const noexcept;

  // Closes the file and deletes it, unless another one stands in its place by now.
  void Remove() noexcept;

  // Closes the file. Its memory stays mapped for as long as this object lives.
  void Close() noexcept;

 private:
  using Handle = boost::interprocess::file_handle_t;

  const std::filesystem::path path;
  Handle handle;
  boost::interprocess::mapped_region region;
};

}  // namespace Common
