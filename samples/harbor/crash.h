#pragma once

namespace Harbor {

// From here on a process that ends by std::terminate, as after an exception that nobody catches,
// first writes the lines that wait in the log.
void SaveLogOnTerminate();

}  // namespace Harbor
