#pragma once

namespace Harbor {

// From here on Ctrl-C and a request to terminate only set a flag, so that the run ends in order. A
// second one, for a run that hangs, ends the process at once. Output that nobody reads any more, as
// in `harbor | head`, does not end the run, since its files are still to be written.
void CatchInterrupts();

bool IsInterrupted();

}  // namespace Harbor
