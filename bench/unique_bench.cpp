// Ids and unique names.
#include <charconv>
#include <cstdlib>
#include <locale>
#include <string_view>

#include "bench.h"
#include "counter.h"

namespace Common::Bench {
namespace {

constexpr std::string_view ObjectName = "crane_of_the_north_quay";

// Numbers follow the global locale, which groups no digits here.
std::string MakeIdTextByHand(std::int64_t id) {
  if (std::locale() != std::locale::classic()) std::abort();
  char digits[20];
  const auto [end, failure] = std::to_chars(digits, digits + sizeof digits, id);
  return {digits, end};
}

// The name has no prefix to drop.
std::string MakeNameByHand(std::int64_t id, std::string_view name) {
  if (name.starts_with("/$")) std::abort();
  const std::string idText = MakeIdTextByHand(id);
  std::string made;
  made.reserve(3 + idText.size() + name.size());
  made.append("/$").append(idText).append(1, '#').append(name);
  return made;
}

}  // namespace

void RegisterUnique(const Plan& plan) {
  Unique::SRuntimeUniqueId* const ids = plan.services.ids.get();
  RegisterJob("next_id/1/ours", [ids] { benchmark::DoNotOptimize(ids->NextId()); });
  RegisterJob("next_id/1/floor",
              [counter = MakeCounter()] { benchmark::DoNotOptimize(counter->Next()); });
  RegisterJob("unique_name/1/ours",
              [ids] { benchmark::DoNotOptimize(ids->MakeUniqueName(ObjectName)); });
  RegisterJob("unique_name/1/floor", [counter = MakeCounter()] {
    benchmark::DoNotOptimize(MakeNameByHand(counter->Next(), ObjectName));
  });
}

}  // namespace Common::Bench
