#pragma once

#include <common/frame_utility.h>
#include <common/kit/game_clock.h>
#include <common/kit/timers.h>

namespace Panels {

// What waits for its time: timers on the game's clock, and delayed calls of the frame utility.
void DrawWaiting(const Common::Kit::Timers& timers, const Common::Kit::GameClock& clock,
                 Common::SFrameUtility& frames);

}  // namespace Panels
