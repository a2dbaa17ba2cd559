// Arithmetic of the line; uses no device, peer, clock or log. Powers in dBm, attenuations, gains
// and losses in dB, widths in GHz, lengths in km.
#pragma once

#include <cmath>
#include <deque>
#include <numeric>
#include <optional>
#include <vector>

namespace manager::loops {

/// The loss between two powers, never negative: a far reading above our own is an error of the
/// taps.
float loss_between(float sent, float received);

/// Loss over a length in dB/km; 0 for a fibre of a kilometre or less, where connectors dominate.
float attenuation_per_kilometer(float loss, float length);
bool is_measurable_length(float length);

/// Span loss at signal wavelengths from that of the OSC at 1510 nm.
float signal_loss_from_osc(float osc_tx_power, float remote_osc_rx_power);

/// The attenuation at which the peer's preamp, with its present gain, just reaches its limit while
/// this node's booster is at its own limit.
float opening_attenuation(float booster_limit, float remote_preamp_limit, float loss,
                          float remote_preamp_gain);

/// The attenuation that brings the booster's share for `bandwidth` of the spectrum down to
/// `target_power` on the fibre.
struct voa_calculation {
  float booster_limit;
  float bandwidth;
  float target_power;
  float insertion_loss;
  float booster_to_line;  ///< board calibration
  float margin;
};
float voa_attenuation_for(const voa_calculation& values);

/// Output power that an in-line amplifier with this minimum gain needs from this node.
float embedded_target_power(float tx_span, float remote_minimum_gain);

/// Preamp gain that compensates the span before it.
float embedded_preamp_gain(float line_calibration, float rx_span, float voa_insertion_loss,
                           float default_gain);

/// Step away from saturation: half of it, limited to 0.2 to 1.0.
float saturation_step(float saturation);

/// Replaces the last powers of the channels with the newest; false if that brings nothing new. A
/// power that is not known now keeps its last value, and is no news.
bool take_news(std::vector<std::optional<float>> powers, std::vector<std::optional<float>>& last);

/// Squared error and gradient of the channels at the peer.
class lms_sum {
 public:
  void add(float difference);

  float squares() const { return squares_; }
  float gradient() const { return gradient_; }
  unsigned active() const { return active_; }
  /// Divided by the number of channels; 0 without one.
  float mean_gradient() const;

 private:
  float squares_ = 0;
  float gradient_ = 0;
  unsigned active_ = 0;
};

/// Mean in float, in the order of the values.
float mean(const std::deque<float>& values);

/// Keeps the newest: removes from the front while there are more than five, then appends, so that
/// six are kept.
void remember_power(std::deque<float>& history, float power);

/// How far gradients may differ and still agree: little while the active channels fill less than
/// half of the spectrum.
float steadiness_threshold(float active_width);

/// Largest minus smallest; 0 if there are none.
float spread(const std::deque<float>& values);

/// Population standard deviation; -1 if there are no values.
template <class Range>
float standard_deviation(const Range& values) {
  if (values.empty()) return -1.0f;
  const auto count = static_cast<double>(values.size());
  const auto average =
      static_cast<float>(std::accumulate(values.begin(), values.end(), 0.0) / count);
  float squares = 0;
  for (const float value : values)
    squares += (value - average) * (value - average);
  return std::sqrt(squares / static_cast<float>(count));
}

/// A step that is too small to be worth writing.
bool is_at_rest(float adjustment);

}  // namespace manager::loops
