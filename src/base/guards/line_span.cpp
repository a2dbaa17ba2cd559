#include "base/guards/line_span.h"

#include <algorithm>

#include "device/reading_kind.h"

namespace guards {

std::optional<float> lit_power(float reading) {
  using namespace device;
  if (judge(reading_kind::tap_power, reading) == verdict::measured) return reading;
  return std::nullopt;
}

bool is_dark_power(float reading) {
  constexpr float lowest_threshold_dbm = -45.0f;  // at which an amplifier tells loss of light
  return device::judge(device::reading_kind::tap_power, reading) != device::verdict::refused &&
         reading < lowest_threshold_dbm;
}

std::optional<float> lit_osc_power(float reading) {
  constexpr float floor_dbm = -45.0f;
  using namespace device;
  const bool is_lit = judge(reading_kind::osc_power, reading) == verdict::measured;
  return is_lit && reading > floor_dbm ? std::optional(reading) : std::nullopt;
}

bool is_dark_osc_power(float reading) {
  using namespace device;
  return judge(reading_kind::osc_power, reading) != verdict::refused && !lit_osc_power(reading);
}

bool is_channel_power(float calibrated) {
  return device::judge(device::reading_kind::channel_power, calibrated) ==
         device::verdict::measured;
}

std::optional<float> span_between(std::optional<float> sent, std::optional<float> received) {
  // How far the taps of two nodes may be off against each other.
  constexpr float least_loss = -1.0f;
  if (!sent || !received || *sent - *received < least_loss) return std::nullopt;
  return std::max(*sent - *received, 0.0f);
}

}  // namespace guards
