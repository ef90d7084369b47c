#include <vorn_lnk/singleton>

#include "no_destructor.h"

namespace Vorn::Detail {

std::map<std::size_t, void*>& Storage::GetStorageImpl() {
  static const NoDestructor<std::map<std::size_t, void*>> storage;
  return *storage;
}

TypeidCreationEnforcer::TypeidCreationEnforcer() = default;

TypeidCreationEnforcer::~TypeidCreationEnforcer() = default;

}  // namespace Vorn::Detail
