#pragma once

#include <filesystem>
#include <ostream>

#include "shift.h"

namespace Harbor {

void PrintSummary(std::ostream& out, const Outcome& outcome);

// For a run whose services have ended: only then the files are written.
void PrintFilesWrittenSince(std::filesystem::file_time_type begin, std::ostream& out);

}  // namespace Harbor
