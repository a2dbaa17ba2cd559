// Definitions of line; included where it is instantiated.
#pragma once

#include <algorithm>
#include <utility>

#include "base/guards/line_span.h"
#include "base/manager/loops/line.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"

namespace manager::loops {

template <class T>
line<T>::line(std::shared_ptr<::channel::plan<T>> channels,
              std::shared_ptr<manager::remote::api> remote)
    : line_loop(std::move(remote)), channels_(std::move(channels)) {}

// A channel that the peer does not know has no power here; the others do not wait for it.
template <class T>
bool line<T>::read_remote_powers() {
  std::vector<std::optional<float>> powers;
  for (const auto& [frequency, control] : *channels_->get_channels()) {
    const auto power = peer_.known(line_peer::operation::get_channel_tx_ocm_power,
                                   control->get_channel()->get_id());
    powers.push_back(power ? std::optional(power->value) : std::nullopt);
  }
  return take_news(std::move(powers), last_remote_powers_);
}

// Called with the plan's mutex held.
template <class T>
bool line<T>::does_any_count() const {
  const auto& all = *channels_->get_channels();
  return std::any_of(all.begin(), all.end(), [this](const auto& entry) {
    auto& control = *entry.second;
    return control.is_on_target() && peer_.known(line_peer::operation::get_channel_tx_ocm_power,
                                                 control.get_channel()->get_id());
  });
}

template <class T>
float line<T>::read_edfa_calibration() {
  if (const auto known = peer_.value(line_peer::operation::get_edfa_tx_calibration)) return *known;
  remote_->get_edfa_tx_calibration();  // throws if the peer's family does not have it
  throw nx_error(nx_error::invalid, "The calibration of the peer is not known");
}

template <class T>
std::optional<typename line_loop::steady_point> line<T>::newest_channel_change() {
  const std::lock_guard lock(channels_->get_mutex());
  std::optional<line_loop::steady_point> newest;
  for (const auto& [frequency, control] : *channels_->get_channels()) {
    const auto power = peer_.known(line_peer::operation::get_channel_tx_ocm_power,
                                   control->get_channel()->get_id());
    if (!power || power->changes == 0) continue;
    newest = newest ? std::max(*newest, power->arrived) : power->arrived;
  }
  return newest;
}

template <class T>
std::optional<float> line<T>::calculate_lms_error() {
  if (!peer_.is_up()) {
    LUMORA_LOG(1, "Remote power values unchanged, skipping regulation");
    return std::nullopt;
  }
  const float wanted = get_wanted_power();
  const float edfa_calibration = read_edfa_calibration();
  const std::lock_guard lock(channels_->get_mutex());
  if (!read_remote_powers()) {
    LUMORA_LOG(1, "Remote power values unchanged, skipping regulation");
    judge_nothing_new(does_any_count());
    return std::nullopt;
  }
  powers_changed_ = helpers::steady_now();
  lms_sum sum;
  lms_sum fresh;
  for (const auto& [frequency, control] : *channels_->get_channels()) {
    const unsigned id = control->get_channel()->get_id();
    const auto power = peer_.known(line_peer::operation::get_channel_tx_ocm_power, id);
    if (!power) {
      channel_states_.erase(id);
      continue;
    }
    const auto average = average_remote_power(*control, *power, edfa_calibration);
    if (!average) continue;
    const float difference = wanted - *average;
    sum.add(difference);
    if (is_fresh(*power)) fresh.add(difference);
    LUMORA_LOG(1,
               "calculate_lms_error(): channel {} wanted power {} channel avg. power {} lms {} "
               "dlms {} active channels {}",
               id, wanted, *average, difference * difference, sum.gradient(), sum.active());
  }
  const float gradient = sum.mean_gradient();
  fresh_gradient_ = fresh.mean_gradient();
  active_ = sum.active();
  if (lms_error_value_) lms_error_value_->update(sum.squares());
  lms_gradient_ = gradient;
  LUMORA_LOG(1, "calculate_lms_error(): lms error: {} lms d sum: {}", sum.squares(), gradient);
  return gradient;
}

template <class T>
std::optional<float> line<T>::average_remote_power(T& control, const line_peer::reading& power,
                                                   float edfa_calibration) {
  const unsigned id = control.get_channel()->get_id();
  const auto told_peak = peer_.known(line_peer::operation::get_channel_tx_peak, id);
  if (!told_peak) return std::nullopt;
  const bool peak = told_peak->value != 0;
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
  const float calibrated = edfa_calibration + power.value;
  if (!guards::is_channel_power(calibrated)) return std::nullopt;
  remember_power(state.power_history, calibrated);
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
  judge_unsteady(delta, threshold);
  LUMORA_LOG(2,
             "Waiting for error to stabilize, current {}, error min/max delta: {}, count {}/{}, "
             "threshold {}",
             error, delta, error_history_.size(), error_history_size_, threshold);
  return false;
}

}  // namespace manager::loops
