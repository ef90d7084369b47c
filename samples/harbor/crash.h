#pragma once

namespace Harbor {

// From here on a process that crashes says what ended it and keeps its log. On std::terminate, as
// after an exception that nobody catches, the waiting lines are written. After a signal they are
// in the log's guard file, and the next start writes them.
void TellOfCrashes();

}  // namespace Harbor
