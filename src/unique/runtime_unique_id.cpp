#include <common/application_error_exception.h>
#include <common/runtime_unique_id.h>

#include <boost/lexical_cast.hpp>

#include <cassert>
#include <vector>

namespace Common::Unique {
namespace {

constexpr std::size_t CountersAtStart = 10'000;
constexpr std::string_view IdPrefix = "/$";
constexpr std::string_view IdSuffix = "#";
constexpr std::string_view DefaultObjectName = "/object";  // a given name gets no "/" of its own

std::int32_t instanceCount = 0;

struct ScopedOverride : IScopedIdOverride {
  ScopedOverride(std::vector<std::int64_t>* counters, std::int64_t value)
      : counters(counters), countersBelow(counters->size()) {
    counters->push_back(value);
  }

  ~ScopedOverride() override {
    assert(counters->size() == countersBelow + 1 &&
           "id overrides end in the reverse order of their making");
    counters->pop_back();
  }

  std::vector<std::int64_t>* const counters;
  const std::size_t countersBelow;  // to check the order
};

// Unsigned, since after the largest id comes the smallest.
std::int64_t IdAfter(std::int64_t id) {
  const auto bits = static_cast<std::uint64_t>(id);
  return static_cast<std::int64_t>(bits + 1);
}

std::string_view WithoutLeadingPrefixes(std::string_view name) {
  while (name.starts_with(IdPrefix)) {
    const std::size_t suffix = name.find(IdSuffix);
    if (suffix == std::string_view::npos) break;
    name.remove_prefix(suffix + IdSuffix.size());
  }
  return name;
}

}  // namespace

class RuntimeUniqueIdImpl final : public SRuntimeUniqueId {
 public:
  ~RuntimeUniqueIdImpl() override {
    assert(counters.size() == CountersAtStart && "an id override ends before its service");
  }

  std::int64_t NextId() override {
    std::int64_t& lastId = counters.back();
    lastId = IdAfter(lastId);
    return lastId;
  }

  std::string NextIdString() override { return PrefixText({}); }

  std::string IdToString(std::int64_t id) override { return boost::lexical_cast<std::string>(id); }

  std::string JoinIdAndText(std::string_view text, std::int64_t id) override {
    return IdToString(id).append(text);
  }

  std::string MakeUniqueName(std::string_view name) override {
    const std::string_view bareName = WithoutLeadingPrefixes(name);
    return PrefixText(bareName.empty() ? DefaultObjectName : bareName);
  }

  Vorn::IntrudablePtr<IScopedIdOverride> OverrideCounter(std::int64_t value) override {
    return Vorn::IntrudablePtr<IScopedIdOverride>(new ScopedOverride(&counters, value));
  }

 private:
  // Takes the next id and returns `text` behind a prefix with it.
  std::string PrefixText(std::string_view text) {
    const std::string id = IdToString(NextId());
    std::string prefixed;
    prefixed.reserve(IdPrefix.size() + id.size() + IdSuffix.size() + text.size());
    prefixed.append(IdPrefix).append(id).append(IdSuffix).append(text);
    return prefixed;
  }

  // A stack: the last one is live.
  std::vector<std::int64_t> counters = std::vector<std::int64_t>(CountersAtStart);
};

SRuntimeUniqueId* Manufacture() {
  ++instanceCount;
  if (instanceCount > 1) throw ApplicationErrorException("Multiple instances of SRuntimeUniqueId!");
  return new RuntimeUniqueIdImpl;
}

}  // namespace Common::Unique
