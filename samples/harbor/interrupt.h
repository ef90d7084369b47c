#pragma once

namespace Harbor {

// From here on Ctrl-C and a request to terminate only raise a flag, so that the run ends in order.
// A second one, for a run that hangs, ends the process at once.
void CatchInterrupts();

bool IsInterrupted();

}  // namespace Harbor
