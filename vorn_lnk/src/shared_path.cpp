#include <vorn_lnk/shared_path>

#include <system_error>
#include <utility>

#include "no_destructor.h"
#include "path_text.h"

namespace Vorn {

std::filesystem::path PathFromUtf8(const std::string& text) { return Detail::ToNativeText(text); }

SharedPath::SharedPath() = default;
SharedPath::~SharedPath() = default;
SharedPath::SharedPath(const SharedPath& other) = default;
SharedPath::SharedPath(SharedPath&& other) noexcept = default;
SharedPath& SharedPath::operator=(const SharedPath& other) = default;
SharedPath& SharedPath::operator=(SharedPath&& other) noexcept = default;

SharedPath SharedPath::NewWrapped(std::filesystem::path&& path) {
  SharedPath wrapped;
  wrapped.Reset(std::move(path), true);
  return wrapped;
}

void SharedPath::Reset(std::filesystem::path&& path, bool alone) {
  if (alone || shared == nullptr) {
    shared = std::make_shared<std::filesystem::path>(std::move(path));
  } else {
    *shared = std::move(path);
  }
}

void SharedPath::Reset() { shared.reset(); }

SharedPath::operator std::filesystem::path() const { return Path(); }

const std::filesystem::path& SharedPath::Path() const {
  static const Detail::NoDestructor<std::filesystem::path> noPath;
  return shared != nullptr ? *shared : *noPath;
}

bool SharedPath::Exists() const {
  if (Detail::HoldsNul(Path())) return false;  // nothing can stand there
  std::error_code failure;
  const bool exists = std::filesystem::exists(Path(), failure);
  if (failure == std::errc::filename_too_long) return false;  // nor there
  if (failure) throw std::filesystem::filesystem_error("exists", Path(), failure);
  return exists;
}

std::string SharedPath::String() const { return Detail::ToUtf8(Path().native()); }

}  // namespace Vorn
