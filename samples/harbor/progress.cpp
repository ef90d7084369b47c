#include "progress.h"

#include <iostream>
#include <string>

#include "totem_values.h"

#ifdef _WIN32
#include <io.h>
#include <stdio.h>
#else
#include <unistd.h>
#endif

namespace Harbor {
namespace {

bool StandardErrorIsTerminal() {
#ifdef _WIN32
  return _isatty(_fileno(stderr)) != 0;
#else
  return isatty(STDERR_FILENO) != 0;
#endif
}

}  // namespace

Progress::Progress(std::uint64_t frameCount)
    : isTerminal(StandardErrorIsTerminal()), frames(frameCount) {}

void Progress::Show(const Common::SMessageTotem& totem) {
  if (!isTerminal) return;
  const std::string line = "frame " + std::to_string(totem.frameNumber.Read()) + " of " +
                           std::to_string(frames) + ", " + std::to_string(ShipsWaiting(totem)) +
                           " ships waiting, " + std::to_string(TonnesAshore(totem)) + " t ashore";
  std::cerr << line;
  shown = line.size();
}

void Progress::Hide() {
  if (shown == 0) return;
  std::cerr << '\r' + std::string(shown, ' ') + '\r';
  shown = 0;
}

}  // namespace Harbor
