#include "guard_file.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace Common {
namespace {

// The first bytes of every guard file. A change of the layout changes the number.
constexpr std::string_view Magic = "common_services guard 1\n";
constexpr std::size_t LongestPath = 4096;  // in bytes
constexpr std::uint64_t FirstSize = 256 * 1024;

using PathChar = std::filesystem::path::value_type;
using Counter = std::atomic<std::uint64_t>;
static_assert(Counter::is_always_lock_free && sizeof(Counter) == sizeof(std::uint64_t));

struct StoredTarget {
  FileMark mark;
  std::uint64_t isArchive;
  std::uint64_t skipped;
  std::uint64_t pathSize;  // in bytes
  char path[LongestPath];
};

}  // namespace

struct GuardFile::Header {
  char magic[Magic.size()];
  Counter used;     // bytes of lines behind this header
  Counter current;  // the number of the target that counts
  StoredTarget targets[2];
};

std::unique_ptr<GuardFile> GuardFile::Open(const std::filesystem::path& path) {
  std::unique_ptr<GuardFile> guard(new GuardFile(path));
  if (!guard->file.IsOpen()) return nullptr;
  const std::uint64_t size = guard->file.Size();
  if (size != 0) return guard->TakeOver(size) ? std::move(guard) : nullptr;
  if (guard->Make()) return guard;
  guard->Remove();
  return nullptr;
}

// A process that dies in between leaves an empty file or just the magic. `Open` takes both.
bool GuardFile::Make() noexcept { return file.WriteStart(Magic) && file.ReserveAndMap(FirstSize); }

bool GuardFile::TakeOver(std::uint64_t size) noexcept {
  if (!IsGuardFile() || !file.ReserveAndMap(std::max(size, FirstSize))) return false;
  if (!IsSound(size)) DropLines();
  return true;
}

bool GuardFile::IsGuardFile() const noexcept {
  char magic[Magic.size()];
  return file.ReadStart(magic) && std::string_view(magic, sizeof magic) == Magic;
}

// Whether a file of this size can hold what its header claims.
bool GuardFile::IsSound(std::uint64_t size) const noexcept {
  const Header& head = Head();
  const std::uint64_t used = head.used.load(std::memory_order_acquire);
  return size >= sizeof(Header) && used <= size - sizeof(Header) && head.current.load() < 2 &&
         (used == 0 || Text()[used - 1] == '\n');
}

GuardFile::Header& GuardFile::Head() const noexcept {
  return *reinterpret_cast<Header*>(file.Memory().data());
}

std::span<char> GuardFile::Text() const noexcept { return file.Memory().subspan(sizeof(Header)); }

std::string_view GuardFile::Lines() const noexcept {
  return {Text().data(), static_cast<std::size_t>(Head().used.load(std::memory_order_acquire))};
}

GuardTarget GuardFile::Target() const {
  const Header& head = Head();
  const StoredTarget& stored = head.targets[head.current.load(std::memory_order_acquire)];
  GuardTarget target{.file = {},
                     .mark = stored.mark,
                     .isArchive = stored.isArchive != 0,
                     .skipped = stored.skipped};
  if (stored.pathSize > LongestPath) return target;
  std::filesystem::path::string_type text(stored.pathSize / sizeof(PathChar), PathChar{});
  std::memcpy(text.data(), stored.path, text.size() * sizeof(PathChar));
  target.file = std::move(text);
  return target;
}

void GuardFile::SetTarget(const std::filesystem::path& target, const FileMark& mark, bool isArchive,
                          std::uint64_t skipped) noexcept {
  Header& head = Head();
  const std::uint64_t other = 1 - (head.current.load(std::memory_order_relaxed) & 1);
  StoredTarget& stored = head.targets[other];
  const std::size_t size = target.native().size() * sizeof(PathChar);
  stored.mark = mark;
  stored.isArchive = isArchive ? 1 : 0;
  stored.skipped = skipped;
  stored.pathSize = size <= LongestPath ? size : 0;
  std::memcpy(stored.path, target.c_str(), stored.pathSize);
  head.current.store(other, std::memory_order_release);
}

void GuardFile::Add(std::span<const std::string> lines) noexcept {
  std::size_t count = 0;
  for (const std::string& line : lines) count += line.size();
  if (isFull || !MakeRoom(count)) {
    isFull = true;
    return;
  }
  Counter& used = Head().used;
  const std::uint64_t before = used.load(std::memory_order_relaxed);
  char* end = Text().data() + before;
  for (const std::string& line : lines) end = std::copy(line.begin(), line.end(), end);
  used.store(before + count, std::memory_order_release);
}

bool GuardFile::MakeRoom(std::size_t count) noexcept {
  const std::uint64_t needed = sizeof(Header) + Head().used.load(std::memory_order_relaxed) + count;
  const std::uint64_t size = file.Memory().size();
  return needed <= size || file.ReserveAndMap(std::max(needed, 2 * size));
}

void GuardFile::DropLines() noexcept {
  Head().used.store(0, std::memory_order_release);
  isFull = false;
}

}  // namespace Common
