// Any bytes as a guard file at start: a dead run's file with patches, or bytes alone. A refused
// file is not touched, and what is written comes from the input.
#include <common/message_log.h>
#include <vorn_lnk/file>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "shared.h"

namespace {

namespace fs = std::filesystem;
using namespace Common;
using Fuzz::Check;

const std::string GuardName = "guard";
constexpr std::size_t LongestFile = 300 * 1024;

std::string ReadFile(const fs::path& path) {
  return Vorn::ReadWholeFileToString(Vorn::SharedPath::NewWrapped(fs::path(path)));
}

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

struct Host {
  Host() {
    fs::remove_all("guard_fuzz.files");
    fs::create_directory("guard_fuzz.files");
    fs::current_path("guard_fuzz.files");
    WriteFile("zeb_log.txt", "of an earlier run\n");
    log.reset(Log::ManufactureMessageLog());
    archived = fs::directory_iterator("old_logs")->path();
    Check(log->SetGuardFile(GuardName), "a new file can be a guard");
    log->LogMessage("a line that waits");
    left = ReadFile(GuardName);
    log->SetGuardFile("");
  }

  fs::path archived;
  std::unique_ptr<Log::SMessageLog> log;
  std::string left;  // the guard file of a run that has three lines of a header and one more
};

Host& TheHost() {
  static Host host;
  return host;
}

std::string MakeGuardFile(FuzzedDataProvider& data, const std::string& left) {
  if (data.ConsumeBool()) return data.ConsumeRemainingBytesAsString();
  std::string bytes = left;
  while (data.remaining_bytes() > 0) {
    // Most of the file is room for lines and names.
    const std::size_t place = data.ConsumeBool()
                                  ? data.ConsumeIntegralInRange<std::size_t>(0, 100)
                                  : data.ConsumeIntegralInRange<std::size_t>(0, LongestFile);
    if (data.ConsumeBool()) {
      bytes.resize(place);
      continue;
    }
    const std::string patch =
        data.ConsumeBytesAsString(data.ConsumeIntegralInRange<std::size_t>(1, 16));
    if (bytes.size() < place + patch.size()) bytes.resize(place + patch.size());
    bytes.replace(place, patch.size(), patch);
  }
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  Host& host = TheHost();
  FuzzedDataProvider data(input, size);
  const std::string bytes = MakeGuardFile(data, host.left);
  WriteFile(GuardName, bytes);
  if (!host.log->SetGuardFile(GuardName)) {
    Check(ReadFile(GuardName) == bytes, "a file that is refused is as it was");
    fs::remove(GuardName);
  }
  host.log->SetGuardFile("");
  Check(!fs::exists(GuardName), "an empty name leaves no guard file");
  Check(ReadFile(host.archived) == "of an earlier run\n", "another run's log is left alone");
  for (const auto& file : fs::directory_iterator("old_logs")) {
    if (file.path() == host.archived) continue;
    const std::string lines = ReadFile(file.path());
    Check(bytes.find(lines) != std::string::npos, "no line is made up");
    Check(lines.ends_with('\n'), "each line is ended");
    fs::remove(file.path());
  }
  Check(!fs::exists("zeb_log.txt"), "the log waits for its batch");
  return 0;
}
