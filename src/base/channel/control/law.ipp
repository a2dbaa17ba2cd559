// Definitions of channel::control::base: the law of a lit channel. The power it should have,
// whether it may be changed now and why not, and the step; each in insight's terms, too, from the
// numbers on which the decision is based.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/channel/control/base.h"
#include "base/channel/control/regulation.h"
#include "helpers/logger.h"

namespace channel::control {

template <class T>
float base<T>::get_target_power(float fiber_length, float total_power) {
  const float tilt = get_tilt_loss(fiber_length);
  const float target = target_power(total_power, channel_->get_width(), tilt);
  LUMORA_LOG(0,
             "Calculating target_power for channel {} fiber length {} total power {} tilt loss {} "
             "target power {}",
             channel_->get_id(), fiber_length, total_power, tilt, target);
  return target;
}

template <class T>
float base<T>::get_tilt_loss(float fiber_length) {
  return tilt_loss(channel_->get_wavelength(), fiber_length);
}

template <class T>
void base<T>::note_measurement(float target, float wish, float measured, float power_difference) {
  verdict_.target = target;
  verdict_.wish = wish;
  if (!is_known_) return;  // the power is from an earlier reading
  verdict_.measured = measured;
  verdict_.error = power_difference;
}

template <class T>
bool base<T>::can_regulate(std::shared_ptr<device::interfaces::wss> wss, float power_difference) {
  const float attenuation = channel_->get_attenuation();
  const unsigned power_updates = channel_->get_power_updates();
  remember_difference(power_difference, power_updates);
  const float standing = standing_attenuation();
  const float band = dead_band(standing);
  const float power = channel_->get_ocm_power();
  calm_down_ = false;
  const bool exhausted = is_exhausted(*wss, standing, power_difference);
  const bool large_enough = band < std::fabs(power_difference);
  const bool expired = view_ && evidence_.has_expired(*view_);
  const bool power_updated = last_step_.power != power || expired;
  const bool attenuation_updated = last_step_.attenuation != attenuation || expired;
  const bool possible = !exhausted && large_enough && attenuation_updated && power_updated;
  LUMORA_LOG(0,
             "can_regulate({}-{}, {}), power calm down {} ({}/{}) exhausted {} ({}) power diff {} "
             "({}, {}) power updates {},attenuation updated {} power updated {} (current {} last "
             "{})",
             static_cast<float>(channel_->get_id()), channel_->get_direction(), possible, true,
             history_range(), power_history_.size(), exhausted, attenuation, large_enough,
             std::fabs(power_difference), band, power_updates, attenuation_updated, power_updated,
             power, last_step_.power.value_or(-999.0f));
  note_room(*wss, standing, band);
  verdict_.is_settled = !large_enough && !is_effect_awaited();
  conclude(
      law_reason(power_difference, large_enough, exhausted, attenuation_updated, power_updated));
  if (possible && is_step_withheld(*wss, power_difference)) return false;
  if (!large_enough) release_guards();
  return possible;
}

template <class T>
void base<T>::remember_difference(float power_difference, unsigned power_updates) {
  if (power_history_.size() < power_updates) power_history_.push_back(power_difference);
  while (power_history_.size() > history_limit_)
    power_history_.pop_front();
}

template <class T>
float base<T>::history_range() const {
  float lowest = std::numeric_limits<float>::max();
  float highest = std::numeric_limits<float>::lowest();
  for (const float difference : power_history_) {
    lowest = std::min(lowest, difference);
    highest = std::max(highest, difference);
  }
  return highest - lowest;
}

template <class T>
bool base<T>::is_exhausted(device::interfaces::wss& wss, float attenuation,
                           float power_difference) {
  return (attenuation == wss.get_min_attenuation() && power_difference < 0) ||
         (attenuation == wss.get_max_attenuation() && power_difference > 0);
}

template <class T>
void base<T>::note_room(device::interfaces::wss& wss, float standing, float band) {
  verdict_.dead_band = band;
  verdict_.attenuation = standing;
  verdict_.headroom_up = std::max(standing - wss.get_min_attenuation(), 0.0f);
  verdict_.headroom_down = std::max(wss.get_max_attenuation() - standing, 0.0f);
}

template <class T>
insight::channel_reason base<T>::law_reason(float power_difference, bool large_enough,
                                            bool exhausted, bool attenuation_updated,
                                            bool power_updated) const {
  using enum insight::channel_reason;
  if (!is_known_) return reading_unknown;
  if (!large_enough) return on_target_ ? on_target : in_dead_band;
  if (exhausted) return power_difference < 0 ? fully_open : at_its_end;
  if (!attenuation_updated) return attenuation_repeats;
  return power_updated ? others_turn : reading_repeats;
}

template <class T>
bool base<T>::is_calming_down() {
  return calm_down_;
}

template <class T>
void base<T>::regulate(std::shared_ptr<device::interfaces::wss> wss, float power_difference) {
  const float attenuation = standing_attenuation();
  const float change = attenuation_change(power_difference);
  const float target = step_target(*wss, power_difference);
  LUMORA_LOG(2,
             "Regulating channel {}-{}, current attenuation: {} attenuation change: {} power "
             "difference: {}",
             channel_->get_id(), channel_->get_direction(), attenuation, change, power_difference);
  LUMORA_LOG(2, "Regulating channel {}-{}, setting attenuation: {}", channel_->get_id(),
             channel_->get_direction(), target);
  // Recorded before the write: after a refused one the next try waits for a new reading.
  last_step_.power = channel_->get_ocm_power();
  wss->set_attenuation(channel_->get_id(), target);
  last_step_.attenuation = channel_->get_attenuation();
  parked_at_.reset();
  verdict_.step = target - attenuation;
  conclude(insight::channel_reason::stepped);
  if (view_) evidence_.made(attenuation, target, *view_);
  channel_->reset_power_updates();
  power_history_.clear();
}

template <class T>
float base<T>::step_target(device::interfaces::wss& wss, float power_difference) {
  return clamp_attenuation(standing_attenuation() + attenuation_change(power_difference),
                           wss.get_min_attenuation(), wss.get_max_attenuation());
}

template <class T>
float base<T>::standing_attenuation() {
  return view_ ? evidence_.standing_attenuation(*view_) : channel_->get_attenuation();
}

template <class T>
void base<T>::reset_last_step() {
  last_step_ = {};
  evidence_.forget();
}

}  // namespace channel::control
