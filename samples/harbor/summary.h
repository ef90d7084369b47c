#pragma once

#include <ostream>

#include "shift.h"

namespace Harbor {

// For a run whose services have ended: only then the files are written.
void PrintSummary(std::ostream& out, const Outcome& outcome);

}  // namespace Harbor
