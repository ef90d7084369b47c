// What the totem's values mean here. Host and plugins read what was written in the frame before.
#pragma once

#include <common/message_totem.h>

#include <cstdint>

namespace Harbor {

inline constexpr std::uint8_t GaleForce = 8;  // on Beaufort's scale

inline bool GatesAreOpen(const Common::SMessageTotem& totem) { return totem.byteOne.Read() != 0; }
inline void WriteGates(Common::SMessageTotem& totem, bool open) {
  totem.byteOne.Write(open ? 1 : 0);
}

inline std::uint8_t ReadWindForce(const Common::SMessageTotem& totem) {
  return totem.byteTwo.Read();
}
inline void WriteWindForce(Common::SMessageTotem& totem, std::uint8_t force) {
  totem.byteTwo.Write(force);
}

// The totem also keeps the light of the frame before, so that a change can be seen.
inline bool IsDark(const Common::SMessageTotem& totem) {
  return totem.fourByteValue.Read().parts[0] == 0;
}
inline bool WasDark(const Common::SMessageTotem& totem) {
  return totem.fourByteValuePrevious.Read().parts[0] == 0;
}
inline void WriteLight(Common::SMessageTotem& totem, std::uint16_t light) {
  totem.fourByteValue.Write({{light, 0}});
}

// The wind force that the weather office expects for the coming day.
inline std::uint8_t ReadForecast(const Common::SMessageTotem& totem) {
  return totem.byteThree.Read();
}
inline void WriteForecast(Common::SMessageTotem& totem, std::uint8_t force) {
  totem.byteThree.Write(force);
}

inline std::uint64_t ShipsWaiting(const Common::SMessageTotem& totem) {
  return totem.eightByteValue.Read().parts[0];
}
inline std::uint64_t TonnesAshore(const Common::SMessageTotem& totem) {
  return totem.eightByteValue.Read().parts[1];
}
inline void WriteState(Common::SMessageTotem& totem, std::uint32_t waiting, std::uint32_t tonnes) {
  totem.eightByteValue.Write({{waiting, tonnes}});
}

}  // namespace Harbor
