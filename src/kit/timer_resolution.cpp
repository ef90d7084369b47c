#include <common/kit/timer_resolution.h>

#ifdef _WIN32
#include <windows.h>
#endif

namespace Common::Kit {

#ifdef _WIN32
namespace {

using SetPeriod = UINT(WINAPI*)(UINT milliseconds);

constexpr UINT PeriodMilliseconds = 1;
constexpr UINT Granted = 0;

// Returns whether the operation exists and grants the period.
bool Call(HMODULE library, const char* name) noexcept {
  const auto address = reinterpret_cast<void (*)()>(GetProcAddress(library, name));
  const auto setPeriod = reinterpret_cast<SetPeriod>(address);
  return setPeriod != nullptr && setPeriod(PeriodMilliseconds) == Granted;
}

}  // namespace

ScopedTimerResolution::ScopedTimerResolution() noexcept {
  const HMODULE library = LoadLibraryExA("winmm.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (library == nullptr) return;
  if (Call(library, "timeBeginPeriod")) {
    grantor = library;
  } else {
    FreeLibrary(library);
  }
}

ScopedTimerResolution::~ScopedTimerResolution() {
  if (grantor == nullptr) return;
  const auto library = static_cast<HMODULE>(grantor);
  Call(library, "timeEndPeriod");
  FreeLibrary(library);
}
#else
ScopedTimerResolution::ScopedTimerResolution() noexcept = default;
ScopedTimerResolution::~ScopedTimerResolution() = default;
#endif

}  // namespace Common::Kit
