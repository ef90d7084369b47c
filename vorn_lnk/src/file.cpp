#include <vorn_lnk/file>

#include <cerrno>
#include <fstream>
#include <locale>
#include <system_error>

#include "path_text.h"

namespace Vorn {
namespace {

constexpr std::size_t ChunkSize = 64 * 1024;

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
  std::ifstream file;
  file.imbue(std::locale::classic());  // bytes, whatever the host's global locale makes of them
  file.open(path.Path(), std::ios::in | std::ios::binary);
  if (!file) ThrowReadError(path, LastSystemError());
  std::string content;
  std::string chunk(ChunkSize, '\0');
  do {
    file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    content.append(chunk, 0, static_cast<std::size_t>(file.gcount()));
  } while (file);
  if (file.bad()) ThrowReadError(path, LastSystemError());
  return content;
}

}  // namespace Vorn
