#include "shift.h"

namespace Harbor {

Outcome RunShift(std::optional<std::uint64_t> frames) {
  Shift shift(frames);
  while (!shift.IsOver()) shift.RunFrame();
  return shift.Finish();
}

}  // namespace Harbor
