#pragma once

#include <filesystem>
#include <ostream>
#include <string>

#include "shift.h"

namespace Harbor {

void PrintSummary(std::ostream& out, const Outcome& outcome);

// For a run whose services have ended, which is when the files are written.
void PrintFilesWrittenSince(std::filesystem::file_time_type begin, std::ostream& out);

// What such a run has lost, as a text for the user: files that are empty or missing, and the ends
// of others if the disk is full. The services report none of these, so the host has to look.
std::string LossesSince(std::filesystem::file_time_type begin);

}  // namespace Harbor
