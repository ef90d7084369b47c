#include <vorn_lnk/shared_path>

#include <utility>

namespace Vorn {

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
  static const std::filesystem::path noPath;
  return shared != nullptr ? *shared : noPath;
}

bool SharedPath::Exists() const { return std::filesystem::exists(Path()); }

std::string SharedPath::String() const {
  const std::u8string text = Path().u8string();
  return {text.begin(), text.end()};
}

}  // namespace Vorn
