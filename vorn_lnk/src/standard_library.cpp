#include <vorn_lnk/standard_library>

bool Vorn::Detail::LibrariesAndHostUseOneStandardLibraryMode(const ModeTag* /*unused*/) noexcept {
  return true;
}
