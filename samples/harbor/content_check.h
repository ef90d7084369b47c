#pragma once

#include <array>
#include <string>

namespace Harbor {

// The files that a run writes, from the working directory.
const std::array<std::string, 3>& WrittenFiles();

// Makes `directory` (UTF-8) the working directory and the report's folder in it, and throws std::runtime_error with a
// text for the user if the content is missing or one of the files cannot be written. The services would go on without
// their files, or tell of it when the run is over.
void PrepareDirectory(const std::string& directory);

}  // namespace Harbor
