// Definitions of channel::control::base; included where it is instantiated.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "api/config_param.h"
#include "api/const_value.h"
#include "base/channel/control/base.h"
#include "base/channel/control/regulation.h"
#include "helpers/logger.h"
#include "platform/wire/nx_error.h"

namespace channel::control {

template <class T>
base<T>::base() : channel_(std::make_shared<T>()) {}

template <class T>
base<T>::~base() {
  release_guards();
}

template <class T>
std::shared_ptr<T> base<T>::get_channel() {
  return channel_;
}

template <class T>
bool base<T>::is_admin_up() {
  return true;
}

template <class T>
bool base<T>::is_admin_down() {
  return false;
}

template <class T>
bool base<T>::is_on_target() {
  return on_target_;
}

template <class T>
void base<T>::set_on_target(bool on_target) {
  on_target_ = on_target;
  verdict_.is_on_target = on_target;
}

template <class T>
float base<T>::get_tilt_loss(float fiber_length) {
  return tilt_loss(channel_->get_wavelength(), fiber_length);
}

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
float base<T>::standing_attenuation() {
  return view_ ? evidence_.standing_attenuation(*view_) : channel_->get_attenuation();
}

template <class T>
float base<T>::step_target(device::interfaces::wss& wss, float power_difference) {
  return clamp_attenuation(standing_attenuation() + attenuation_change(power_difference),
                           wss.get_min_attenuation(), wss.get_max_attenuation());
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
void base<T>::add_subscribe_failure() {
  ++subscribe_failures_;
}

template <class T>
unsigned base<T>::get_subscribe_failures() {
  return subscribe_failures_;
}

template <class T>
void base<T>::reset_subscribe_failures() {
  subscribe_failures_ = 0;
}

template <class T>
void base<T>::reset_last_step() {
  last_step_ = {};
  evidence_.forget();
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
  if (possible || !large_enough) release_guards();
  return possible;
}

template <class T>
bool base<T>::is_calming_down() {
  return calm_down_;
}

template <class T>
std::optional<float>& base<T>::default_of_direction() {
  const auto direction = channel_->get_direction();
  if (direction == "rx") return default_attenuation_rx_;
  if (direction == "tx") return default_attenuation_tx_;
  throw nx_error(nx_error::invalid, fmt::format("Invalid channel direction {}", direction));
}

template <class T>
void base<T>::set_default_attenuation(float attenuation) {
  {
    const std::lock_guard lock(settings_mutex_);
    default_of_direction() = attenuation;
  }
  if (default_attenuation_value_) default_attenuation_value_->update(attenuation);
}

template <class T>
std::optional<float> base<T>::get_configured_attenuation() {
  const std::lock_guard lock(settings_mutex_);
  return default_of_direction();
}

template <class T>
float base<T>::get_default_attenuation() {
  constexpr float default_rx = 15.0f;
  constexpr float default_tx = 5.0f;
  return get_configured_attenuation().value_or(channel_->get_direction() == "rx" ? default_rx
                                                                                 : default_tx);
}

template <class T>
void base<T>::set_description(std::string description) {
  const std::lock_guard lock(settings_mutex_);
  description_ = std::move(description);
}

template <class T>
std::string base<T>::value_path(const char* root, const char* name) {
  return fmt::format("{}/client/{}/{}/{}", root, channel_->get_id(), channel_->get_direction(),
                     name);
}

template <class T>
void base<T>::setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values) {
  using nx::api::prompt_param;
  default_attenuation_value_ =
      nx::api::pushed_value<float>::create(db, value_path("data", "defaultAttenuation"), 1, 0.2);
  values->add_value(
      prompt_param<&base<T>::set_default_attenuation>::create(
          db, value_path("config", "defaultAttenuation"), std::nullopt, this->shared_from_this()),
      0);
  values->add_value(prompt_param<&base<T>::set_description>::create(
                        db, value_path("config", "description"), "", this->shared_from_this()),
                    0);
  values->add_value(nx::api::const_value<std::string>::create(db, value_path("data", "wssPortName"),
                                                              get_wss_port_name()),
                    0);
}

template <class T>
std::string base<T>::get_wss_port_name() {
  return "localAD";
}

}  // namespace channel::control

#include "base/channel/control/explained.ipp"
#include "base/channel/control/guarded.ipp"
