#pragma once

#include <common/message_totem.h>

namespace Panels {

// The current values of the totem, and those that wait for the next frame's edge.
void DrawTotem(const Common::SMessageTotem& totem);

}  // namespace Panels
