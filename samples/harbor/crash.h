#pragma once

namespace Harbor {

// From here on a process that crashes says what ended it, and keeps its log. One that ends by
// std::terminate, as after an exception that nobody catches, first writes the lines that wait. Of
// one that a signal ends, they lie in the guard file of the log, and its next start writes them.
void TellOfCrashes();

}  // namespace Harbor
