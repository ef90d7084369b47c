#include "harbor_view.h"

#include <imgui.h>

#include <algorithm>
#include <string>

#include "../totem_values.h"

namespace Harbor {
namespace {

constexpr float HarborShare = 0.5F;  // of the window's width; the panels have the rest
constexpr float QuayHeight = 90.0F;
constexpr float ShipLength = 150.0F;
constexpr float ShipHeight = 34.0F;
constexpr float BowLength = 24.0F;
constexpr float Gap = 18.0F;
constexpr float FullLight = 1000.0F;
constexpr std::size_t MostShown = 12;  // of berths and of ships at anchor

constexpr ImU32 QuayColor = IM_COL32(74, 68, 62, 255);
constexpr ImU32 HullColor = IM_COL32(70, 52, 44, 255);
constexpr ImU32 CargoColor = IM_COL32(222, 170, 90, 255);
constexpr ImU32 FreeColor = IM_COL32(255, 255, 255, 60);
constexpr ImU32 TextColor = IM_COL32(240, 240, 235, 255);
constexpr ImU32 OpenColor = IM_COL32(90, 200, 120, 255);
constexpr ImU32 ClosedColor = IM_COL32(255, 96, 80, 255);
constexpr ImU32 SunColor = IM_COL32(255, 224, 130, 255);
constexpr ImU32 MoonColor = IM_COL32(200, 205, 220, 255);

ImU32 SeaColor(float light) {
  const auto mix = [light](float night, float day) {
    return static_cast<int>(night + (day - night) * light);
  };
  return IM_COL32(mix(8, 60), mix(18, 140), mix(48, 190), 255);
}

class Canvas {
 public:
  Canvas() : list(*ImGui::GetBackgroundDrawList()) {}

  void Box(ImVec2 corner, ImVec2 size, ImU32 color) {
    list.AddRectFilled(corner, {corner.x + size.x, corner.y + size.y}, color, 4.0F);
  }
  void Text(ImVec2 corner, const std::string& text, ImU32 color = TextColor) {
    list.AddText(corner, color, text.c_str());
  }
  void Triangle(ImVec2 first, ImVec2 second, ImVec2 third, ImU32 color) {
    list.AddTriangleFilled(first, second, third, color);
  }
  void Disc(ImVec2 middle, float radius, ImU32 color) {
    list.AddCircleFilled(middle, radius, color);
  }
  void Line(ImVec2 from, ImVec2 to, ImU32 color) { list.AddLine(from, to, color, 2.0F); }

 private:
  ImDrawList& list;
};

void DrawShip(Canvas& canvas, ImVec2 corner, const Ship& ship) {
  const float share = static_cast<float>(ship.aboard) / static_cast<float>(ship.tonnes);
  const float hold = ShipLength - BowLength;
  const float right = corner.x + hold;
  canvas.Box(corner, {hold, ShipHeight}, HullColor);
  canvas.Triangle({right - 2.0F, corner.y}, {right - 2.0F, corner.y + ShipHeight},
                  {right + BowLength, corner.y + ShipHeight / 2.0F}, HullColor);
  canvas.Box({corner.x + 4.0F, corner.y + 4.0F}, {(hold - 8.0F) * share, ShipHeight - 8.0F},
             CargoColor);
  canvas.Text({corner.x, corner.y + ShipHeight + 2.0F}, ship.name);
  canvas.Text({corner.x, corner.y + ShipHeight + 2.0F + ImGui::GetTextLineHeight()},
              std::to_string(ship.aboard) + " t of " + ship.cargo);
}

// Side by side, in rows from the top down.
ImVec2 PlaceOf(std::size_t index, float top, float width) {
  constexpr float stepX = ShipLength + Gap;
  constexpr float stepY = ShipHeight + 3.0F * Gap;
  const auto perRow = std::max<std::size_t>(1, static_cast<std::size_t>((width - Gap) / stepX));
  return {Gap + static_cast<float>(index % perRow) * stepX,
          top + static_cast<float>(index / perRow) * stepY};
}

void DrawBerths(Canvas& canvas, const Port& port, float width) {
  const std::size_t shown = std::min(port.Berths().size(), MostShown);
  for (std::size_t index = 0; index < shown; ++index) {
    const ImVec2 place = PlaceOf(index, QuayHeight + Gap, width);
    const Ship* ship = port.Berths()[index];
    if (ship != nullptr) {
      DrawShip(canvas, place, *ship);
    } else {
      canvas.Box(place, {ShipLength, ShipHeight}, FreeColor);
      canvas.Text({place.x + 8.0F, place.y + 8.0F}, "berth " + std::to_string(index + 1));
    }
  }
}

void DrawAnchorage(Canvas& canvas, const Port& port, float width, float height) {
  const float top = height * 0.62F;
  const std::size_t shown = std::min(port.Anchorage().size(), MostShown);
  canvas.Text({Gap, top - 1.5F * Gap},
              "at anchor: " + std::to_string(port.Anchorage().size()) + " ships");
  for (std::size_t index = 0; index < shown; ++index) {
    DrawShip(canvas, PlaceOf(index, top, width), *port.Anchorage()[index]);
  }
}

// An arrow that grows with the wind's force, and turns red in a gale.
void DrawWind(Canvas& canvas, std::uint8_t force, ImVec2 from) {
  const ImU32 color = force >= GaleForce ? ClosedColor : TextColor;
  const ImVec2 tip(from.x + 12.0F * static_cast<float>(force), from.y);
  canvas.Line(from, tip, color);
  canvas.Line(tip, {tip.x - 8.0F, tip.y - 5.0F}, color);
  canvas.Line(tip, {tip.x - 8.0F, tip.y + 5.0F}, color);
  canvas.Text({from.x, from.y + 8.0F}, "wind force " + std::to_string(force), color);
}

}  // namespace

void DrawHarbor(const Port& port, const Common::SMessageTotem& totem) {
  const ImVec2 window = ImGui::GetIO().DisplaySize;
  const float width = window.x * HarborShare;
  const float light = static_cast<float>(totem.fourByteValue.Read().parts[0]) / FullLight;
  Canvas canvas;
  canvas.Box({0.0F, 0.0F}, window, SeaColor(light));
  canvas.Box({0.0F, 0.0F}, {width, QuayHeight}, QuayColor);
  canvas.Disc({width - 2.0F * Gap, QuayHeight / 2.0F}, Gap, IsDark(totem) ? MoonColor : SunColor);
  canvas.Text({Gap, Gap}, IsDark(totem) ? "night" : "day");
  const bool isOpen = GatesAreOpen(totem);
  canvas.Text({Gap, 2.2F * Gap}, isOpen ? "the gates are open" : "the gates are closed",
              isOpen ? OpenColor : ClosedColor);
  canvas.Text({Gap, 3.4F * Gap}, std::to_string(TonnesAshore(totem)) + " t ashore");
  DrawWind(canvas, ReadWindForce(totem), {width - 260.0F, 2.0F * Gap});
  DrawBerths(canvas, port, width);
  DrawAnchorage(canvas, port, width, window.y);
}

}  // namespace Harbor
