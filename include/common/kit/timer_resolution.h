/// @file
/// A finer system timer on Windows. There a sleep of 1 ms takes up to 16 ms, and the clock, which
/// learns that when it is made, then spins through the last 30 ms of each wait. Make one of these
/// before the clock and keep it while the clock waits: sleeps become short, and waits sleep again.
///
/// ```cpp
/// const Common::Kit::ScopedTimerResolution fineTimer;
/// const auto clock = Vorn::Singleton<Common::STimeProvider, std::shared_ptr>::Create(
///     Common::ManufactureTimeProvider());
/// ```
#pragma once

#ifdef _WIN32

// The declarations of <windows.h>, whose macros a host may not want.
struct HINSTANCE__;
extern "C" {
__declspec(dllimport) HINSTANCE__* __stdcall LoadLibraryExA(const char* name, void* file,
                                                            unsigned long flags);
__declspec(dllimport) long long(__stdcall* __stdcall GetProcAddress(HINSTANCE__* module,
                                                                    const char* name))();
__declspec(dllimport) int __stdcall FreeLibrary(HINSTANCE__* module);
}

#endif

namespace Common::Kit {

/// Asks Windows for a timer of 1 ms from its making to its end; does nothing on other systems.
///
/// What it costs: the processor wakes up 1,000 times a second instead of 64 times, which shows in
/// the battery life of a laptop. Since Windows 10 version 2004 that holds for the sleeps of this
/// process alone, before that for the whole machine. Drop it while the game is paused or in the
/// background. Windows 11 may ignore the wish while all windows of the process are hidden.
///
/// Needs no library at link time: it takes the system's `winmm.dll` while it lives. Without that
/// file the timer stays as it was. Several may live at once. Throws nothing. Any thread.
class [[maybe_unused]] ScopedTimerResolution {
 public:
#ifdef _WIN32
  /// Asks for the fine timer.
  ScopedTimerResolution() : library(LoadLibraryExA("winmm.dll", nullptr, FromSystemFolder)) {
    if (library == nullptr) return;
    const SetPeriod beginPeriod = FindOperation("timeBeginPeriod");
    const SetPeriod endPeriod = FindOperation("timeEndPeriod");
    if (beginPeriod == nullptr || endPeriod == nullptr) return;
    if (beginPeriod(PeriodMilliseconds) == Granted) giveBack = endPeriod;
  }

  /// Gives the fine timer back.
  ~ScopedTimerResolution() {
    if (giveBack != nullptr) giveBack(PeriodMilliseconds);
    if (library != nullptr) FreeLibrary(library);
  }
#else
  /// Does nothing on this system.
  ScopedTimerResolution() = default;
#endif

  ScopedTimerResolution(const ScopedTimerResolution&) = delete;
  ScopedTimerResolution& operator=(const ScopedTimerResolution&) = delete;

#ifdef _WIN32
 private:
  using SetPeriod = unsigned int(__stdcall*)(unsigned int milliseconds);
  using AnyFunction = void (*)();

  static constexpr unsigned long FromSystemFolder = 0x800;
  static constexpr unsigned int PeriodMilliseconds = 1;
  static constexpr unsigned int Granted = 0;

  SetPeriod FindOperation(const char* name) const {
    const auto address = reinterpret_cast<AnyFunction>(GetProcAddress(library, name));
    return reinterpret_cast<SetPeriod>(address);
  }

  HINSTANCE__* const library;
  SetPeriod giveBack = nullptr;  // none where nothing was granted
#endif
};

}  // namespace Common::Kit
