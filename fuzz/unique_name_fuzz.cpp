// Names with prefixes in all states of repair, against the rule of MakeUniqueName taken one prefix
// at a time, on counters that are put over one another.
#include <common/runtime_unique_id.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <limits>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;

Unique::SRuntimeUniqueId& TheService() {
  static const std::unique_ptr<Unique::SRuntimeUniqueId> service(Unique::Manufacture());
  return *service;
}

constexpr std::int64_t Largest = std::numeric_limits<std::int64_t>::max();

// Beyond the largest id the counter goes on with the smallest.
std::int64_t Next(std::int64_t& counter) {
  counter = counter == Largest ? std::numeric_limits<std::int64_t>::min() : counter + 1;
  return counter;
}

std::string BareName(const std::string& name) {
  const std::size_t hash = name.find('#');
  if (name.compare(0, 2, "/$") != 0 || hash == std::string::npos) return name;
  return BareName(name.substr(hash + 1));
}

void CheckNames(std::int64_t& lastId, const std::string& name) {
  Unique::SRuntimeUniqueId& service = TheService();
  const std::string bareName = BareName(name).empty() ? "/object" : BareName(name);
  const std::string first = service.MakeUniqueName(name);
  Check(first == "/$" + std::to_string(Next(lastId)) + "#" + bareName,
        "a new prefix in place of all old ones");
  const std::string second = service.MakeUniqueName(first);
  Check(second == "/$" + std::to_string(Next(lastId)) + "#" + bareName,
        "a unique name is made unique anew");
  Check(service.JoinIdAndText(name, lastId) == std::to_string(lastId) + name, "number and text");
  Check(service.NextIdString() == "/$" + std::to_string(Next(lastId)) + "#", "a prefix alone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  std::vector<std::pair<std::int64_t, Vorn::IntrudablePtr<IScopedIdOverride>>> counters;
  const auto overrideCounter = [&] {
    const auto start = data.ConsumeBool()
                           ? data.ConsumeIntegral<std::int64_t>()
                           : Largest - data.ConsumeIntegralInRange<std::int64_t>(0, 9);
    counters.emplace_back(start, TheService().OverrideCounter(start));
  };
  overrideCounter();
  while (data.remaining_bytes() > 0) {
    const auto operation = data.ConsumeIntegralInRange(0, 5);
    if (operation == 0) {
      overrideCounter();
    } else if (operation == 1 && counters.size() > 1) {
      counters.pop_back();
    } else {
      CheckNames(counters.back().first, data.ConsumeRandomLengthString());
    }
  }
  while (!counters.empty()) counters.pop_back();
  return 0;
}
