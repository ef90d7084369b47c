#pragma once

#include <common/message_totem.h>

#include "../port.h"

namespace Harbor {

// Draws the harbor behind the panels: the sea by day and by night, the berths with their ships and
// what is left aboard, the ships at anchor, the gates, and the wind.
void DrawHarbor(const Port& port, const Common::SMessageTotem& totem);

}  // namespace Harbor
