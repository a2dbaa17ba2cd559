// Definitions of channel::control::base: the guards' part in a look at the channel.
#pragma once

#include <fmt/format.h>

#include <utility>

#include "base/channel/control/base.h"
#include "base/channel/control/regulation.h"
#include "helpers/waiting.h"

namespace channel::control {

template <class T>
void base<T>::take_look(const look& now) {
  view_ = now.view;
  is_known_ = now.is_known;
  if (is_known_ || known_at_ == guards::time_point{}) known_at_ = now.view.now;
  live_.look(now.power_arrivals, now.power_changes, now.view.now);
  evidence_.look(now.view);
  rising_.look(now.lit, now.view);
  verdict_ = {.at = now.view.now,
              .lit = now.lit,
              .attenuation = now.view.attenuation,
              .age = std::chrono::duration<float>(now.view.now - now.view.power_at).count()};
  before_turn_ = {last_step_.attenuation, evidence_, parked_at_};
}

template <class T>
void base<T>::note_failure(insight::channel_reason reason, std::string text) {
  verdict_ = {.reason = reason,
              .at = helpers::steady_now(),
              .lit = verdict_.lit,
              .failure = std::move(text)};
}

template <class T>
bool base<T>::is_step_withheld(device::interfaces::wss& wss, float power_difference) {
  using insight::channel_reason;
  if (!view_) return false;
  if (!is_reading_known()) {
    withhold(guards::known_reading, "the newest report of monitor or switch is not a valid reading",
             channel_reason::reading_unknown);
    return true;
  }
  if (!is_reading_live()) {
    withhold(guards::fresh_reading, "no reading of the monitor has changed since its start",
             channel_reason::monitor_not_live);
    return true;
  }
  switch (evidence_.waits_for(*view_)) {
    case guards::wait_for::switch_to_move:
      withhold(guards::fresh_reading, "the switch has not shown the last step yet",
               channel_reason::switch_not_moved);
      return true;
    case guards::wait_for::new_reading:
      withhold(guards::fresh_reading, "the reading is from before the switch moved",
               channel_reason::reading_before_move);
      return true;
    case guards::wait_for::effect:
      withhold(guards::fresh_reading, "the reading does not show the last step",
               channel_reason::step_not_in_light);
      return true;
    case guards::wait_for::none:
      break;
  }
  const float left_over = -power_difference + attenuation_change(power_difference);
  if (power_difference < 0 && rising_.may_overtake(*view_, left_over)) {
    withhold(guards::steady_light, "the light has just come on and is still rising",
             channel_reason::light_rises);
    return true;
  }
  const float target = step_target(wss, power_difference);
  if (evidence_.is_futile(*view_, target)) {
    withhold(guards::end_of_range, "the switch is already where the step would take it",
             futile_reason(wss, target));
    return true;
  }
  return false;
}

template <class T>
insight::channel_reason base<T>::futile_reason(device::interfaces::wss& wss, float target) const {
  using enum insight::channel_reason;
  if (target == wss.get_min_attenuation()) return fully_open;
  return target == wss.get_max_attenuation() ? at_its_end : as_near_as_the_switch;
}

template <class T>
void base<T>::withhold(const helpers::guard_kind& guard, const std::string& text,
                       insight::channel_reason reason) {
  conclude(reason);
  withhold(guard, text);
}

template <class T>
void base<T>::withhold(const helpers::guard_kind& guard, const std::string& reason) {
  if (active_guard_ != &guard) release_guards();
  active_guard_ = &guard;
  helpers::guard_register::instance().withhold(guard, guard_subject(), reason);
}

template <class T>
void base<T>::release_guards() {
  if (!active_guard_) return;
  helpers::guard_register::instance().end(*active_guard_, guard_subject());
  active_guard_ = nullptr;
}

template <class T>
std::string base<T>::guard_subject() {
  return fmt::format("client {} {}", channel_->get_direction(), channel_->get_id());
}

template <class T>
bool base<T>::is_effect_awaited() const {
  return view_ && evidence_.waits_for(*view_) != guards::wait_for::none;
}

template <class T>
guards::time_point base<T>::get_power_time() const {
  return view_ ? view_->power_at : guards::time_point::max();
}

template <class T>
bool base<T>::is_darkness_doubtful() const {
  // Instruments recover within a minute; one that has no other way to report darkness keeps
  // reporting it.
  constexpr std::chrono::seconds longest_doubt{70};
  return !is_known_ && view_->now - known_at_ < longest_doubt;
}

template <class T>
bool base<T>::is_reading_live() const {
  return !view_ || live_.is_live(view_->now);
}

template <class T>
std::optional<float> base<T>::get_parking_attenuation(device::interfaces::wss& wss) {
  const float attenuation = get_default_attenuation();
  if (attenuation > wss.get_max_attenuation()) return wss.get_max_attenuation();
  if (attenuation >= wss.get_min_attenuation()) return attenuation;
  return std::nullopt;
}

template <class T>
bool base<T>::is_parked(float target) {
  return parked_at_ == target && guards::is_near(channel_->get_attenuation(), target);
}

template <class T>
void base<T>::take_back_write() {
  last_step_.attenuation = before_turn_.attenuation;
  evidence_ = before_turn_.evidence;
  parked_at_ = before_turn_.parked_at;
}

}  // namespace channel::control
