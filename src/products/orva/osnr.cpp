#include "products/orva/osnr.h"

#include <cmath>

namespace products::orva {

std::optional<float> closest_dark_power(const std::vector<monitored_channel>& channels,
                                        unsigned frequency) {
  const monitored_channel* below = nullptr;
  const monitored_channel* above = nullptr;
  for (const auto& channel : channels) {
    if (channel.lit || channel.frequency == frequency) continue;
    if (channel.frequency > frequency) {
      above = &channel;
      break;
    }
    below = &channel;
  }
  if (below == nullptr && above == nullptr) return std::nullopt;
  if (below == nullptr) return above->power;
  if (above == nullptr) return below->power;
  const bool below_is_nearer = frequency - below->frequency < above->frequency - frequency;
  return below_is_nearer ? below->power : above->power;
}

float osnr_db(float power, float noise_power, float bandwidth) {
  const float signal = std::pow(10.0f, power / 10.0f);
  const float noise = std::pow(10.0f, noise_power / 10.0f);
  return 10.0f * std::log10((signal - noise) / (noise / (bandwidth / osnr_bandwidth_ghz)));
}

float compensated_bandwidth(float dispersion) {
  const double d = dispersion;
  if (d > -255.0) return static_cast<float>(d * -0.02471 + 77.2);
  return static_cast<float>(d * 0.02929 + 92.86);
}

}  // namespace products::orva
