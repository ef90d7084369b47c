#include <common/config_file.h>
#include <common/frame_utility.h>
#include <common/message_log.h>
#include <common/time_provider.h>

#include <iostream>
#include <memory>

using Clock = Vorn::Service<Common::STimeProvider>;
using Log = Vorn::Service<Common::Log::SMessageLog>;

int main() {
  const auto clockOwner = Clock::Create(Common::ManufactureTimeProvider());
  const auto logOwner = Log::Create(Common::Log::ManufactureMessageLog());
  const std::unique_ptr<Common::Config::SConfigFile> settings(Common::ManufactureConfigFile());
  const std::unique_ptr<Common::SFrameUtility> frames(Common::ManufactureFrameUtility());

  auto* clock = Clock::Get();
  const std::int32_t frameTime = settings->GetInt("frame_microseconds", 2000);
  const auto reactor = frames->CreateReactor(0);
  reactor->SetCallback([clock](std::uint64_t frame) {
    std::cout << "frame " << frame << ": " << clock->Now() << " us\n";
  });
  for (int frame = 0; frame < 60; ++frame) {
    const auto filler = clock->MakeTimeFiller(static_cast<std::uint64_t>(frameTime));
    frames->Tick();
  }
}
