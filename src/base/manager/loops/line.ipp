// Definitions of line; included where it is instantiated.
#pragma once

#include <utility>

#include "base/manager/loops/line.h"
#include "base/manager/remote/api.h"
#include "helpers/logger.h"

namespace manager::loops {

template <class T>
line<T>::line(std::shared_ptr<::channel::plan<T>> channels,
              std::shared_ptr<manager::remote::api> remote)
    : line_loop(std::move(remote)), channels_(std::move(channels)) {}

template <class T>
std::vector<float> line<T>::read_remote_powers() {
  std::vector<float> powers;
  for (const auto& [frequency, control] : *channels_->get_channels()) {
    powers.push_back(remote_->get_channel_tx_ocm_power(control->get_channel()->get_id()));
  }
  return powers;
}

template <class T>
std::optional<float> line<T>::calculate_lms_error() {
  const float wanted = get_wanted_power();
  const float edfa_calibration = remote_->get_edfa_tx_calibration();
  const std::lock_guard lock(channels_->get_mutex());
  auto powers = read_remote_powers();
  if (powers == last_remote_powers_) {
    LUMORA_LOG(1, "Remote power values unchanged, skipping regulation");
    return std::nullopt;
  }
  last_remote_powers_ = std::move(powers);
  lms_sum sum;
  for (const auto& [frequency, control] : *channels_->get_channels()) {
    const auto average = average_remote_power(*control, edfa_calibration);
    if (!average) continue;
    const float difference = wanted - *average;
    sum.add(difference);
    LUMORA_LOG(1,
               "calculate_lms_error(): channel {} wanted power {} channel avg. power {} lms {} "
               "dlms {} active channels {}",
               control->get_channel()->get_id(), wanted, *average, difference * difference,
               sum.gradient(), sum.active());
  }
  const float gradient = sum.mean_gradient();
  if (lms_error_value_) lms_error_value_->update(sum.squares());
  lms_gradient_ = gradient;
  LUMORA_LOG(1, "calculate_lms_error(): lms error: {} lms d sum: {}", sum.squares(), gradient);
  return gradient;
}

template <class T>
std::optional<float> line<T>::average_remote_power(T& control, float edfa_calibration) {
  const unsigned id = control.get_channel()->get_id();
  const float power = remote_->get_channel_tx_ocm_power(id);
  const bool peak = remote_->get_channel_tx_peak(id) != 0;
  const auto [entry, is_new] = channel_states_.try_emplace(id);
  auto& state = entry->second;
  if (is_new) {
    state.peak = peak;
    LUMORA_LOG(2, "Channel {} peak state init {}, clearing power history", id, peak);
    return std::nullopt;
  }
  if (state.peak != peak) {
    state.peak = peak;
    state.power_history.clear();
    LUMORA_LOG(2, "Channel {} peak state changed to {}, clearing power history", id, peak);
    return std::nullopt;
  }
  if (!control.is_on_target()) {
    LUMORA_LOG(0, "Channel {} is not active, skipping regulation", id);
    state.power_history.clear();
    return std::nullopt;
  }
  remember_power(state.power_history, edfa_calibration + power);
  return mean(state.power_history);
}

template <class T>
float line<T>::active_width() {
  const std::lock_guard lock(channels_->get_mutex());
  float width = 0;
  for (const auto& [frequency, control] : *channels_->get_channels()) {
    if (control->is_on_target()) width += control->get_channel()->get_width();
  }
  return width;
}

template <class T>
bool line<T>::lms_calmdown(float error) {
  error_history_.push_back(error);
  while (error_history_.size() > error_history_size_)
    error_history_.pop_front();
  const float delta = spread(error_history_);
  const float threshold = steadiness_threshold(active_width());
  if (!(delta > threshold) && error_history_.size() >= error_history_size_) return true;
  LUMORA_LOG(2,
             "Waiting for error to stabilize, current {}, error min/max delta: {}, count {}/{}, "
             "threshold {}",
             error, delta, error_history_.size(), error_history_size_, threshold);
  return false;
}

}  // namespace manager::loops
