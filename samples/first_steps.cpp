#include <common/frame_utility.h>
#include <common/kit/frame_pacer.h>
#include <common/message_log.h>
#include <common/time_provider.h>

#include <memory>
#include <string>

using Clock = Vorn::Service<Common::STimeProvider>;
using Log = Vorn::Service<Common::Log::SMessageLog>;

int main() {
  const auto clockOwner = Clock::Create(Common::ManufactureTimeProvider());
  const auto logOwner = Log::Create(Common::Log::ManufactureMessageLog());
  Log::Get()->SetLiveOutput(true);
  const std::unique_ptr<Common::SFrameUtility> frames(Common::ManufactureFrameUtility());

  const auto everySecond = frames->CreateReactor(1'000'000);
  everySecond->SetCallback(
      [](std::uint64_t frame) { Log::Get()->LogMessage("frame " + std::to_string(frame)); });
  Common::Kit::FramePacer pacer(16'667);
  for (int frame = 0; frame < 180; ++frame) {
    frames->Tick();
    pacer.WaitForNext();
  }
}
