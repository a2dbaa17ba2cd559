// Definitions of channel::control::base: the result of a look at the channel in insight's terms,
// from the numbers on which the decision was based.
#pragma once

#include "base/channel/control/base.h"
#include "base/channel/control/regulation.h"
#include "helpers/waiting.h"

namespace channel::control {

template <class T>
void base<T>::note_measurement(float target, float wish, float measured, float power_difference) {
  verdict_.target = target;
  verdict_.wish = wish;
  if (!is_known_) return;  // the power is from an earlier reading
  verdict_.measured = measured;
  verdict_.error = power_difference;
}

template <class T>
void base<T>::note_failure(insight::channel_reason reason, std::string text) {
  verdict_ = {.reason = reason,
              .at = helpers::steady_now(),
              .lit = verdict_.lit,
              .failure = std::move(text)};
}

template <class T>
void base<T>::note_room(device::interfaces::wss& wss, float standing, float band) {
  verdict_.dead_band = band;
  verdict_.attenuation = standing;
  verdict_.headroom_up = std::max(standing - wss.get_min_attenuation(), 0.0f);
  verdict_.headroom_down = std::max(wss.get_max_attenuation() - standing, 0.0f);
}

template <class T>
bool base<T>::is_effect_awaited() const {
  return view_ && evidence_.waits_for(*view_) != guards::wait_for::none;
}

template <class T>
void base<T>::withhold(const helpers::guard_kind& guard, const std::string& text,
                       insight::channel_reason reason) {
  conclude(reason);
  withhold(guard, text);
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
insight::channel_reason base<T>::futile_reason(device::interfaces::wss& wss, float target) const {
  using enum insight::channel_reason;
  if (target == wss.get_min_attenuation()) return fully_open;
  return target == wss.get_max_attenuation() ? at_its_end : as_near_as_the_switch;
}

}  // namespace channel::control
