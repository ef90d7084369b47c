/// @file
/// A finer system timer on Windows, where a sleep of 1 ms takes up to 16 ms. The clock measures
/// that when it is made, and then spins through the last 30 ms of each wait. Make one of these
/// before the clock and keep it while the clock waits: sleeps become short, and waits sleep again.
///
/// ```cpp
/// const Common::Kit::ScopedTimerResolution fineTimer;
/// const auto clock = Vorn::Service<Common::STimeProvider>::Create(
///     Common::ManufactureTimeProvider());
/// ```
#pragma once

namespace Common::Kit {

/// Asks Windows for a timer of 1 ms for as long as it lives; does nothing on other systems.
///
/// The processor then wakes up 1,000 times a second instead of 64, which shortens the battery life
/// of a laptop. Since Windows 10 version 2004 that affects only the sleeps of this process, before
/// that the whole machine. Drop it while the game is paused or in the background. Windows 11 may
/// ignore it while all windows of the process are hidden.
///
/// Needs no library at link time: it loads the system's `winmm.dll` while it lives. Without that
/// file the timer stays as it was. Several may live at once. Throws nothing. Any thread.
class [[maybe_unused]] ScopedTimerResolution {
 public:
  /// Asks for the fine timer.
  [[nodiscard]] ScopedTimerResolution() noexcept;

  /// Gives the fine timer back.
  ~ScopedTimerResolution();  // NOLINT(performance-trivially-destructible): not so on Windows

  ScopedTimerResolution(const ScopedTimerResolution&) = delete;
  ScopedTimerResolution& operator=(const ScopedTimerResolution&) = delete;

 private:
  [[maybe_unused]] void* grantor = nullptr;  // the system's library while it grants the fine timer
};

}  // namespace Common::Kit
