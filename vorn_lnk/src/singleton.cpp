#include <vorn_lnk/singleton>

namespace Vorn::Detail {

std::map<std::size_t, void*>& Storage::GetStorageImpl() {
  // Never destroyed: an owner may stand at file scope in any module and end after this library's
  // own statics.
  static auto& storage = *new std::map<std::size_t, void*>;
  return storage;
}

TypeidCreationEnforcer::TypeidCreationEnforcer() = default;

TypeidCreationEnforcer::~TypeidCreationEnforcer() = default;

}  // namespace Vorn::Detail
