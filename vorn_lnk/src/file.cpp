#include <vorn_lnk/file>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "path_text.h"

#ifdef _WIN32
#include <share.h>
#endif

namespace Vorn {
namespace {

constexpr std::size_t ChunkSize = 64 * 1024;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Not a std::ifstream: libc++ takes a failure to read, as of a folder, for the file's end.
using File = std::unique_ptr<std::FILE, FileCloser>;

File OpenToRead(const std::filesystem::path& path) {
#ifdef _WIN32
  return File(_wfsopen(path.c_str(), L"rb", _SH_DENYNO));
#else
  return File(std::fopen(path.c_str(), "rb"));
#endif
}

[[noreturn]] void ThrowReadError(const SharedPath& path, std::error_code reason) {
  throw std::filesystem::filesystem_error("cannot read whole file", path, reason);
}

std::error_code LastSystemError() {
  return errno != 0 ? std::error_code(errno, std::generic_category())
                    : std::make_error_code(std::errc::io_error);
}

}  // namespace

std::string ReadWholeFileToString(const SharedPath& path) {
  if (Detail::HoldsNul(path.Path())) {
    ThrowReadError(path, std::make_error_code(std::errc::invalid_argument));
  }
  errno = 0;
  const File file = OpenToRead(path.Path());
  if (file == nullptr) ThrowReadError(path, LastSystemError());
  std::string content;
  std::string chunk(ChunkSize, '\0');
  std::size_t count = 0;
  do {
    count = std::fread(chunk.data(), 1, chunk.size(), file.get());
    content.append(chunk, 0, count);
  } while (count == chunk.size());
  if (std::ferror(file.get()) != 0) ThrowReadError(path, LastSystemError());
  return content;
}

}  // namespace Vorn
