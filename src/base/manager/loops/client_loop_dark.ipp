// Definitions of client_loop: a channel that is dark is parked and raises its alarm, one that the
// operator takes down is blocked.
#pragma once

#include <fmt/format.h>

#include <cmath>

#include "base/manager/leds.h"
#include "base/manager/loops/client_loop.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::loops {

template <class T>
void client_loop<T>::block_or_unblock(const control_ptr& control, bool block) {
  const auto id = control->get_channel()->get_id();
  if (block) {
    LUMORA_LOG(1, fmt::runtime(direction_.blocking), id);
    wss_->block_channel(id);
  } else {
    LUMORA_LOG(1, fmt::runtime(direction_.unblocking), id);
    // A default outside the switch's range must not keep the channel blocked.
    wss_->unblock_channel(
        id, control->get_parking_attenuation(*wss_).value_or(wss_->get_max_attenuation()));
    // As after parking: the last step may have started from exactly this attenuation, and would
    // seem never to have happened.
    control->reset_last_step();
  }
}

template <class T>
void client_loop<T>::report_loss_of_signal(nx_db& db, const control_ptr& control) {
  if (!control->is_admin_up()) return;
  const auto channel = control->get_channel();
  const bool dark = !channel->get_peak();
  channel->set_alarm(db, "lossOfSignal", dark ? 1 : 0);
  (leds_.get()->*direction_.update_led_loss_of_signal)(channel->get_center_frequency(), dark);
}

template <class T>
bool client_loop<T>::is_parking_withheld(const control_ptr& control) {
  const auto parking = control->get_parking_attenuation(*wss_);
  if (!parking) {
    if (!control->get_channel()->get_peak())
      control->conclude(::insight::channel_reason::parking_beyond_range);
    control->withhold(guards::parking_range,
                      fmt::format("the default attenuation {} is below the switch's range",
                                  control->get_default_attenuation()));
    return true;
  }
  if (!control->is_parked(*parking)) return false;
  control->withhold(guards::end_of_range, "the switch is already where it was told to park");
  return true;
}

template <class T>
bool client_loop<T>::park_channel(const control_ptr& control, int log_level) {
  constexpr double close_enough_db = 0.1;
  const auto channel = control->get_channel();
  const float attenuation = channel->get_attenuation();
  const float target =
      control->get_parking_attenuation(*wss_).value_or(control->get_default_attenuation());
  if (std::fabs(double{attenuation} - double{target}) <= close_enough_db) {
    control->release_guards();
    return false;
  }
  if (is_parking_withheld(control)) return false;
  control->release_guards();
  const auto id = channel->get_id();
  LUMORA_LOG(log_level, fmt::runtime(direction_.setting_default), id);
  wss_->set_attenuation(id, target);
  control->note_parking(target);
  read_back(control);
  return true;
}

template <class T>
void client_loop<T>::reset_channel_attenuation(control_ptr control) {
  if (control->is_darkness_doubtful()) {
    control->conclude(::insight::channel_reason::doubtful_darkness);
    control->withhold(guards::known_reading,
                      "the newest report of monitor or switch is not a valid reading");
    return;
  }
  if (blind_monitor_.may_be_blind(helpers::steady_now())) {
    control->conclude(::insight::channel_reason::blind_monitor);
    control->withhold(guards::fresh_reading,
                      "the amplifier sees light, but the monitor has not measured yet");
    return;
  }
  control->conclude(::insight::channel_reason::no_light);
  if (!park_channel(control, 2)) return;
  control->get_channel()->reset_power_updates();
  control->reset_last_step();
}

}  // namespace manager::loops
