#include "base/manager/loops/line_arithmetic.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "base/channel/arithmetic.h"

namespace manager::loops {

namespace {

constexpr float shortest_length_km = 1.0f;

// Fibre loses less at 1550 nm than at 1510 nm: 0.22 versus 0.23 dB/km.
constexpr double signal_share_of_osc_loss = 0.956521739130435;

constexpr float embedded_reference = 5.0f;  // dBm, and the highest target

constexpr float smallest_saturation_step = 0.2f;
constexpr float largest_saturation_step = 1.0f;

constexpr std::size_t power_history_limit = 5;

constexpr float steadiness_floor = 0.1f;
constexpr float steadiness_factor = 5.0f;

constexpr double rest_limit = 0.15;

}  // namespace

float loss_between(float sent, float received) {
  return std::max(sent - received, 0.0f);
}

float attenuation_per_kilometer(float loss, float length) {
  return is_measurable_length(length) ? std::max(loss / length, 0.0f) : 0.0f;
}

bool is_measurable_length(float length) {
  return length > shortest_length_km;
}

float signal_loss_from_osc(float osc_tx_power, float remote_osc_rx_power) {
  return static_cast<float>((double{osc_tx_power} - double{remote_osc_rx_power}) *
                            signal_share_of_osc_loss);
}

float opening_attenuation(float booster_limit, float remote_preamp_limit, float loss,
                          float remote_preamp_gain) {
  return booster_limit - remote_preamp_limit - loss + remote_preamp_gain;
}

float voa_attenuation_for(const voa_calculation& values) {
  const float share = ::channel::band_share_db(values.bandwidth);
  return values.booster_limit + share - values.target_power - values.insertion_loss +
         values.booster_to_line - values.margin;
}

float embedded_target_power(float tx_span, float remote_minimum_gain) {
  return std::min(tx_span + embedded_reference - remote_minimum_gain, embedded_reference);
}

float embedded_preamp_gain(float line_calibration, float rx_span, float voa_insertion_loss,
                           float default_gain) {
  const float gain = 2.0f * line_calibration + rx_span + voa_insertion_loss;
  return gain > default_gain ? gain : default_gain;  // also if the calibration is NaN
}

float saturation_step(float saturation) {
  const float half = saturation * 0.5f;
  if (half >= largest_saturation_step) return largest_saturation_step;
  return half > smallest_saturation_step ? half : smallest_saturation_step;
}

bool take_news(std::vector<std::optional<float>> powers, std::vector<std::optional<float>>& last) {
  const bool same_channels = powers.size() == last.size();
  bool is_new = !same_channels;
  for (std::size_t i = 0; i < powers.size() && same_channels; ++i) {
    if (!powers[i]) powers[i] = last[i];
    is_new = is_new || powers[i] != last[i];
  }
  last = std::move(powers);
  return is_new;
}

void lms_sum::add(float difference) {
  squares_ += difference * difference;
  gradient_ = static_cast<float>(double{gradient_} + -2.0 * double{difference});
  ++active_;
}

float lms_sum::mean_gradient() const {
  return active_ > 0 ? gradient_ / static_cast<float>(active_) : gradient_;
}

float mean(const std::deque<float>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0f) / static_cast<float>(values.size());
}

void remember_power(std::deque<float>& history, float power) {
  while (history.size() > power_history_limit)
    history.pop_front();
  history.push_back(power);
}

float steadiness_threshold(float active_width) {
  const float threshold = std::round(::channel::band_share(active_width)) * steadiness_factor;
  return threshold > steadiness_floor ? threshold : steadiness_floor;
}

float spread(const std::deque<float>& values) {
  if (values.empty()) return 0.0f;
  const auto [smallest, largest] = std::minmax_element(values.begin(), values.end());
  return *largest - *smallest;
}

bool is_at_rest(float adjustment) {
  return !(std::fabs(double{adjustment}) > rest_limit);
}

}  // namespace manager::loops
