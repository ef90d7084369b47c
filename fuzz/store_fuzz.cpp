// Operations on the settings store, against a plain map and the rule of a number's text. The store
// forgets nothing, so the map goes on from input to input; short keys keep both small.
#include <common/config_file.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <charconv>

#include "shared.h"

namespace {

using namespace Common;
using Config::ConfigEntries;
using Fuzz::Check;

constexpr std::size_t LongestKey = 2;
constexpr std::size_t LongestValue = 14;

struct Host {
  Fuzz::StoredLog log;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
  ConfigEntries model;
};

Host& TheHost() {
  static Host host;
  return host;
}

// One sign at most, then digits alone, and no more than 32 bits hold.
std::int32_t ToNumber(std::string_view text, std::int32_t otherwise) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return otherwise;
  }
  std::int32_t number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failure == std::errc() && end == text.data() + text.size() ? number : otherwise;
}

// Some values are numbers near the largest and the smallest that 32 bits hold, and others are made
// of what numbers are made of.
std::string DrawValue(FuzzedDataProvider& data) {
  static constexpr char NumberCharacters[] = {'0', '1', '2', '3', '4', '6',
                                              '7', '8', '9', '+', '-', ' '};
  const auto kind = data.ConsumeIntegralInRange(0, 3);
  if (kind < 2) return data.ConsumeRandomLengthString(LongestValue);
  if (kind == 2) {
    const std::int64_t limit = data.ConsumeBool() ? INT32_MAX : INT32_MIN;
    return std::to_string(limit + data.ConsumeIntegralInRange<std::int64_t>(-2, 2));
  }
  std::string value;
  for (auto left = data.ConsumeIntegralInRange<std::size_t>(0, LongestValue); left > 0; --left) {
    value += data.PickValueInArray(NumberCharacters);
  }
  return value;
}

void Operate(FuzzedDataProvider& data) {
  auto& [log, store, model] = TheHost();
  const std::string key = data.ConsumeRandomLengthString(LongestKey);
  switch (data.ConsumeIntegralInRange(0, 5)) {
    case 0: {
      const std::string value = DrawValue(data);
      Check(store->GetString(key, value) == model.try_emplace(key, value).first->second,
            "GetString adds or gives");
      break;
    }
    case 1: {
      const auto entry = model.find(key);
      Check(store->FindString(key) ==
                (entry == model.end() ? std::nullopt : std::optional(entry->second)),
            "FindString gives what is there");
      break;
    }
    case 2:
      model[key] = DrawValue(data);
      store->SetString(key, model[key]);
      break;
    case 3: {
      const auto number = data.ConsumeIntegral<std::int32_t>();
      store->SetInt(key, number);
      model[key] = std::to_string(number);
      break;
    }
    case 4: {
      const auto number = data.ConsumeIntegral<std::int32_t>();
      const std::string text = model.try_emplace(key, std::to_string(number)).first->second;
      Check(store->GetInt(key, number) == ToNumber(text, number),
            "GetInt reads wholly decimal text");
      break;
    }
    case 5: {
      const ConfigEntries other{{"a", DrawValue(data)}, {"zz", DrawValue(data)}};
      store->ParseContent(store->FormatEntries(other), key);
      break;
    }
  }
  const auto entry = model.find(key);
  Check(store->FindString(key) ==
            (entry == model.end() ? std::nullopt : std::optional(entry->second)),
        "the store holds what the map holds");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  while (data.remaining_bytes() > 0) Operate(data);
  TheHost().log->lines.clear();
  return 0;
}
