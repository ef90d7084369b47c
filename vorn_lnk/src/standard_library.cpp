#include <vorn_lnk/standard_library>

bool Vorn::Detail::LibrariesAndHostUseOneStandardLibraryMode(
    const ModeSample* /*unused*/) noexcept {
  return true;
}
