// Lack of memory: operations of all services, each with one allocation failing that the input
// chooses, the C library's own included. Either std::bad_alloc is thrown and nothing has changed,
// or the operation succeeds. Locks, files and services stay in order, and nothing leaks.
#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/performance_profiler.h>
#include <common/runtime_unique_id.h>
#include <vorn_lnk/file>

#include <fuzzer/FuzzedDataProvider.h>

#include <sanitizer/asan_interface.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <locale>
#include <new>
#include <sstream>
#include <vector>

#include "../src/frame/block_pool.h"
#include "shared.h"

namespace {
int allocationsUntilFailure = 0;  // 0 where none is to fail

bool NextAllocationFails() { return allocationsUntilFailure > 0 && --allocationsUntilFailure == 0; }
}  // namespace

// The sanitizer's malloc.
extern "C" void* __interceptor_malloc(std::size_t size);

// Exported, or the libraries would use another.
extern "C" [[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
  if (NextAllocationFails()) {
    errno = ENOMEM;
    return nullptr;
  }
  return __interceptor_malloc(size);
}

// All forms are replaced, or the sanitizer's own would be used.
void* operator new(std::size_t size) {
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  if (NextAllocationFails()) throw std::bad_alloc();
  void* memory = nullptr;
  if (posix_memalign(&memory, static_cast<std::size_t>(alignment), size) == 0) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return operator new(size, alignment);
}
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

using namespace Common;
using Fuzz::Check;

const std::string LongText(100, 'x');
const std::string MainFile = "content/config/config.txt";
const std::string MainText = "key = " + LongText + '\n';
const std::string LogFile = "zeb_log.txt";
const std::string GuardFile = "guard";
const std::string ReportFile = "report.csv";
const std::locale& Classic = std::locale::classic();
constexpr int HeaderLines = 3;
constexpr int OperationsPerInput = 8;
constexpr int ReactorsPerOperation = 100;  // more than come from one piece of memory
constexpr std::size_t MostReactors = 1'000;

std::string ReadFile(const std::string& name) {
  return Vorn::ReadWholeFileToString(Vorn::SharedPath::NewWrapped(name));
}

std::string NumberedText(std::uint32_t number) { return LongText + std::to_string(number); }

// Without the stamp, which ends in a colon and a blank.
std::string TextOfLine(const std::string& line) { return line.substr(line.find(": ") + 2); }

struct Folder {
  Folder() {
    std::filesystem::remove_all("memory_fuzz.files");
    std::filesystem::create_directories("memory_fuzz.files/content/config");
    std::filesystem::current_path("memory_fuzz.files");
    std::ofstream(MainFile) << MainText;
  }
};

struct Host {
  using LogOwner = std::shared_ptr<Vorn::Service<Log::SMessageLog>>;

  Host() {
    std::cout.setstate(std::ios::badbit);  // nobody reads the copies of the lines
    log->SetLiveOutput(true);
    Check(log->SetGuardFile(GuardFile), "the guard file can be made");
    reactors.reserve(MostReactors);
  }
  ~Host() {
    logOwner = nullptr;
    std::istringstream written(ReadFile(LogFile));
    std::string line;
    for (int header = 0; header < HeaderLines; ++header) std::getline(written, line);
    for (const std::uint32_t number : linesTaken) {
      std::getline(written, line);
      Check(TextOfLine(line) == NumberedText(number), "each line taken is in the file, in order");
    }
    Check(written.peek() == std::istringstream::traits_type::eof(), "no other line is in the file");
  }

  void LogNextLine() {
    const std::uint32_t number = nextLine++;
    log->LogMessage(NumberedText(number));
    allocationsUntilFailure = 0;  // what follows must not fail
    linesTaken.push_back(number);
  }

  void CreateReactors() {
    for (int left = ReactorsPerOperation; left > 0 && reactors.size() < MostReactors; --left)
      reactors.push_back(frame->CreateReactor(0));
  }

  const Folder folder;
  Log::SMessageLog* const log = Log::ManufactureMessageLog();
  LogOwner logOwner = LogOwner::element_type::Create(log);
  std::vector<std::uint32_t> linesTaken;
  std::uint32_t nextLine = 0;
  const Fuzz::StoredClock clock;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
  const std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  const std::unique_ptr<Unique::SRuntimeUniqueId> ids{Unique::Manufacture()};
  const std::unique_ptr<SFrameUtility> frame{ManufactureFrameUtility()};
  std::vector<Vorn::IntrudablePtr<IFrameReactor>> reactors;
};

Host& TheHost() {
  static Host host;
  return host;
}

constexpr std::size_t BlockSize = 104;
using Blocks = std::array<void*, ReactorsPerOperation>;

bool IsWithinItsChunk(void* block) {
  char name = 0;
  void* chunk = nullptr;
  std::size_t size = 0;
  __asan_locate_address(block, &name, 1, &chunk, &size);
  return static_cast<char*>(block) + BlockSize <= static_cast<char*>(chunk) + size;
}

Blocks AllocateAll(BlockPool& pool) {
  Blocks blocks{};
  for (void*& block : blocks) {
    block = pool.Allocate(BlockSize);
    Check(IsWithinItsChunk(block), "a block is within its chunk");
  }
  return blocks;
}

// A new pool each time, since the frame utility's own soon needs no more memory.
void FillAndRefillNewPool() {
  BlockPool pool;
  Blocks blocks{};
  try {
    blocks = AllocateAll(pool);
  } catch (const std::bad_alloc&) {
    AllocateAll(pool);  // as if nothing had failed
    throw;
  }
  for (void* const block : blocks) pool.Free(block);
  constexpr int notReached = 1'000;
  allocationsUntilFailure = notReached;
  Check(AllocateAll(pool) == blocks, "a pool that was emptied has the same blocks again");
  Check(allocationsUntilFailure == notReached, "it takes no memory for them");
}

void Operate(Host& host, int operation) {
  switch (operation) {
    case 0:
      return host.LogNextLine();
    case 1:
      return host.log->SetLogFile(LogFile);
    case 2:
      return host.store->Save();
    case 3:
      host.store->ParseContent(LongText + " = 1\n = " + LongText, LongText);
      return;
    case 4:
      host.store->Load(MainFile);
      return;
    case 5:
      host.profiler->OpenAccumulator(LongText).GoOnTo(LongText + "2");
      return;
    case 6:
      return host.profiler->WriteReportAndClear(ReportFile);
    case 7:
      return host.CreateReactors();
    case 8:
      host.frame->ScheduleCall([](std::uint64_t) {}, 0, 0);
      return;
    case 9:
      return host.frame->Tick();
    case 10:
      static_cast<void>(host.ids->OverrideCounter(7));
      return;
    case 11:
      host.ids->MakeUniqueName(LongText);
      return;
    case 12:
      return FillAndRefillNewPool();
    case 13:
      host.log->SetGuardFile(GuardFile);
      return;
    case 14:
      host.log->SetGuardFile("other_guard");
      return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Host& host = TheHost();
  FuzzedDataProvider data(bytes, size);
  for (int left = OperationsPerInput; left > 0 && data.remaining_bytes() > 0; --left) {
    const int operation = data.ConsumeIntegralInRange(0, 14);
    // Under a new locale, the first number that is written takes memory.
    if (operation == 6) std::locale::global(std::locale(Classic, new std::numpunct<char>));
    allocationsUntilFailure = data.ConsumeIntegralInRange(0, 24);
    try {
      Operate(host, operation);
    } catch (const std::bad_alloc&) {
      Check(allocationsUntilFailure == 0, "only the allocation that was to fail has failed");
    } catch (const std::filesystem::filesystem_error&) {
      Check(allocationsUntilFailure == 0, "only lack of memory keeps a file from being read");
    }
    allocationsUntilFailure = 0;
    if (operation == 2)
      Check(ReadFile(MainFile) == MainText, "no file is cut for what cannot be written");
    if (operation == 6 && std::filesystem::exists(ReportFile))
      Check(ReadFile(ReportFile).ends_with('\n'), "no report is cut for what cannot be written");
    std::locale::global(Classic);
  }
  return 0;
}
