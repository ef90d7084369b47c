#include <vorn_lnk/standard_library>

void Vorn::Detail::LibrariesAndHostUseOneStandardLibraryMode(const ModeSample* /*unused*/) {}
