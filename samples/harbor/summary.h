#pragma once

#include <ostream>

#include "shift.h"

namespace Harbor {

void PrintSummary(std::ostream& out, const Outcome& outcome);

}  // namespace Harbor
