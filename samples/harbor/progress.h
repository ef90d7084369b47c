#pragma once

#include <common/message_totem.h>

#include <cstddef>
#include <cstdint>

namespace Harbor {

// One line of progress from the totem, rewritten in place on standard error if that is a terminal.
// Hidden while a frame works, so that it never mixes with the log.
class Progress {
 public:
  explicit Progress(std::uint64_t frameCount);
  ~Progress() { Hide(); }

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(const Common::SMessageTotem& totem);
  void Hide();

 private:
  const bool isTerminal;
  const std::uint64_t frames;
  std::size_t shown = 0;  // characters
};

}  // namespace Harbor
