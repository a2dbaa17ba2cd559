#include "base/channel/arithmetic.h"

#include <algorithm>
#include <cmath>

namespace channel {

namespace {
constexpr float speed_of_light_nm_ghz = 299792448.0f;
constexpr std::uint32_t hundred_thz = 10000000;
}  // namespace

float wavelength_nm(std::uint32_t center_frequency) {
  const std::uint32_t ghz_above_100_thz = (center_frequency - hundred_thz) / 100;
  const float thz = static_cast<float>(ghz_above_100_thz) / 1000.0f + 100.0f;
  return speed_of_light_nm_ghz / (thz * 1000.0f);
}

float width_ghz(std::uint32_t raw_width) {
  return static_cast<float>(static_cast<double>(raw_width) / 100.0);
}

float band_share(float width_ghz, unsigned band_slices) {
  return width_ghz / models::slice_ghz / static_cast<float>(band_slices);
}

float band_share_db(float width_ghz, unsigned band_slices) {
  return 10.0f * std::log10(band_share(width_ghz, band_slices));
}

float client_power_rx(float ocm_power, float client_to_monitor, float attenuation,
                      float loss_offset) {
  return ocm_power - client_to_monitor + attenuation + loss_offset;
}

float client_power_tx(float ocm_power, float monitor_to_client, float attenuation,
                      float loss_offset) {
  return monitor_to_client + ocm_power + loss_offset - attenuation;
}

bool overlap(std::uint32_t frequency, std::uint32_t width, std::uint32_t other_frequency,
             std::uint32_t other_width) {
  const std::uint64_t distance =
      std::max(frequency, other_frequency) - std::min(frequency, other_frequency);
  return 2 * distance < std::uint64_t{width} + other_width;
}

}  // namespace channel
