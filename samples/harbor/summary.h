#pragma once

#include <filesystem>
#include <ostream>
#include <string>

#include "shift.h"

namespace Harbor {

void PrintSummary(std::ostream& out, const Outcome& outcome);

// For a run whose services have ended: only then the files are written.
void PrintFilesWrittenSince(std::filesystem::file_time_type begin, std::ostream& out);

// What such a run has lost, as a text for the user: files that are empty or were not written, and
// the ends of others where the disk is full. The services tell of none, so the host has to look.
std::string LossesSince(std::filesystem::file_time_type begin);

}  // namespace Harbor
