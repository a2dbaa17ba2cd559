// Definitions of client_loop: the walk over all channels in a cycle, and the turn of one of them,
// from its readings to a step if it is lit. What becomes of it in the dark, or blocked, is in
// client_loop_dark.ipp.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/insight/channel_board.h"
#include "base/manager/loops/client_loop.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::loops {

template <class T>
template <class Action>
void client_loop<T>::for_each_ready_channel(Action&& action) {
  // A channel whose values could not be created is in the plan without them.
  for (const auto& [frequency, control] : *plan_->get_channels()) {
    if (!control->get_channel()->is_api_ready()) continue;
    const log_subject subject(direction_.word, control->get_channel()->get_id());
    action(control);
  }
}

template <class T>
bool client_loop<T>::walk_channels(nx_db& db, bool regulate) {
  helpers::walk_guard walk;
  device::cycle_writes writes;
  blind_monitor_.look(any_lit_, any_changed_, edfa_is_lit_, helpers::steady_now());
  any_lit_ = any_changed_ = false;
  {
    const device::cycle_writes::scope scope(writes);
    for_each_ready_channel([&](const control_ptr& control) {
      turn now{.control = control, .first_write = writes.sent()};
      turn_ = &now;
      walk.run([&] { visit_channel(db, control, regulate); });
      turn_ = nullptr;
      now.end_of_writes = writes.sent();
      if (now.end_of_writes > now.first_write || now.has_stepped || now.reads_back)
        turns_.push_back(now);
    });
  }
  writes.wait();
  finish_turns(writes, walk);
  tell_verdicts();
  return walk.failures() == 0;
}

template <class T>
void client_loop<T>::visit_channel(nx_db& db, const control_ptr& control, bool regulate) {
  try {
    update_channel(control);
    manage_channel(db, control, regulate);
  } catch (...) {
    control->note_failure(::insight::channel_reason::device_failed,
                          helpers::current_exception_text());
    throw;
  }
}

template <class T>
void client_loop<T>::update_channel(control_ptr control) {
  const auto channel = control->get_channel();
  const auto id = channel->get_id();
  const auto attenuation = wss_->get_attenuation_reading(id);
  channel->set_attenuation(attenuation.value);
  channel->set_peak(ocm_->is_channel_detected(id));
  const auto power = ocm_->get_channel_power_reading(id);
  channel->set_ocm_power(power.value);
  any_lit_ = any_lit_ || channel->get_peak();
  any_changed_ = any_changed_ || (power.is_sound && power.changes > 0);
  control->take_look({.view = {.now = helpers::steady_now(),
                               .attenuation = attenuation.value,
                               .attenuation_at = attenuation.arrived,
                               .power = power.value,
                               .power_at = power.arrived,
                               .saturated_at = saturation_.last_seen()},
                      .lit = channel->get_peak(),
                      .is_known = attenuation.is_sound && power.is_sound,
                      .power_arrivals = power.arrivals,
                      .power_changes = power.changes});
}

template <class T>
void client_loop<T>::manage_channel(nx_db& db, control_ptr control, bool regulate) {
  const auto channel = control->get_channel();
  const auto id = channel->get_id();
  const bool admin_down = control->is_admin_down();
  const bool blocked = wss_->is_channel_blocked(id);
  LUMORA_LOG(0, fmt::runtime(direction_.managing), id);
  LUMORA_LOG(0, "Is blocked: {} ({})", admin_down, blocked);
  LUMORA_LOG(0, "Has peak: {}", channel->get_peak());
  LUMORA_LOG(0, "Attenuation: {}", channel->get_attenuation());
  if (admin_down || blocked) {
    if (admin_down != blocked) block_or_unblock(control, admin_down);
    control->conclude(admin_down ? ::insight::channel_reason::blocked
                                 : ::insight::channel_reason::unblocked);
    channel->reset_power_updates();
    read_back(control);
  } else if (channel->get_peak()) {
    manage_channel_peak(control, regulate);
  } else {
    reset_channel_attenuation(control);
    control->set_on_target(false);
  }
  report_loss_of_signal(db, control);
}

template <class T>
void client_loop<T>::manage_channel_peak(control_ptr control, bool regulate) {
  constexpr float on_target_db = 0.5f;
  auto report = measure_peak(control, regulate);
  control->set_on_target(std::fabs(report.power_difference) < on_target_db);
  report.possible = control->can_regulate(wss_, report.power_difference) &&
                    !is_opening_withheld(control, report.power_difference);
  if (report.possible) control->release_guards();
  log_peak(report);
  if (regulate && report.possible) {
    control->regulate(wss_, report.power_difference);
    if (turn_) {
      turn_->has_stepped = true;
    } else {
      note_step();
    }
  } else {
    LUMORA_LOG(0, "Channel {} regulation not possible.", report.id);
    if (report.possible || control->is_calming_down()) peak_regulated = true;
  }
}

template <class T>
typename client_loop<T>::peak_report client_loop<T>::measure_peak(const control_ptr& control,
                                                                  bool regulate) {
  constexpr float shortest_fiber_km = 0.001f;
  const auto channel = control->get_channel();
  fiber_length_ = std::max(osc_->get_fiber_length(), shortest_fiber_km);
  const float offset = channel->get_wanted_power_offset();
  const float saturation = get_edfa_saturation();
  const float target =
      control->get_target_power(fiber_length_, edfa_power_limit_) - saturation + offset;
  const float power = channel->get_ocm_power();
  const float calibration = edfa_calibration_.get();
  const float power_difference = (power + calibration) - target;
  control->note_measurement(target, target + saturation, power + calibration, power_difference);
  control->note_fibre(fiber_length_);
  return {.id = channel->get_id(),
          .regulate = regulate,
          .fiber_length = fiber_length_,
          .edfa_power_limit = edfa_power_limit_,
          .edfa_calibration = calibration,
          .channel_power = power,
          .channel_target_power = target,
          .power_difference = power_difference,
          .possible = false};
}

template <class T>
float client_loop<T>::get_edfa_saturation() {
  constexpr float cap = 1.0f;
  return std::min(edfa_->get_saturation(), cap);
}

template <class T>
bool client_loop<T>::is_opening_withheld(const control_ptr& control, float power_difference) {
  if (power_difference >= 0 || !saturation_.forbids_opening(control->get_power_time()))
    return false;
  control->conclude(saturation_.is_saturated() ? ::insight::channel_reason::amplifier_saturated
                                               : ::insight::channel_reason::reading_of_saturation);
  control->withhold(guards::unsaturated_amplifier,
                    saturation_.is_saturated()
                        ? "the amplifier gives more than 1 dB less than its gain"
                        : "the reading is from when the amplifier was in saturation");
  return true;
}

template <class T>
void client_loop<T>::note_step() {
  last_regulation_ = helpers::system_now();
  peak_regulated = true;
}

template <class T>
void client_loop<T>::log_peak(const peak_report& report) {
  LUMORA_LOG(0, "manage_channel_peak({}, {})", report.id, report.regulate);
  LUMORA_LOG(0, "fiber_length: {}", report.fiber_length);
  LUMORA_LOG(0, "edfa_power_limit: {}", report.edfa_power_limit);
  LUMORA_LOG(0, "edfa_calibration: {}", report.edfa_calibration);
  LUMORA_LOG(0, "channel_power: {}", report.channel_power);
  LUMORA_LOG(0, "channel_target_power: {}", report.channel_target_power);
  LUMORA_LOG(0, "power_difference: {}", report.power_difference);
  LUMORA_LOG(0, "regulation possible: {}", report.possible);
}

template <class T>
void client_loop<T>::finish_turns(const device::cycle_writes& writes, helpers::walk_guard& walk) {
  refresh_attenuations();
  for (const auto& done : std::exchange(turns_, {})) {
    const auto channel = done.control->get_channel();
    const log_subject subject(direction_.word, channel->get_id());
    walk.run([&] {
      try {
        writes.throw_failure(done.first_write, done.end_of_writes);
      } catch (...) {
        done.control->take_back_write();
        done.control->note_failure(::insight::channel_reason::device_failed,
                                   helpers::current_exception_text());
        throw;
      }
      if (done.has_stepped) note_step();
      if (done.reads_back) channel->set_attenuation(wss_->get_attenuation(channel->get_id()));
    });
  }
}

template <class T>
void client_loop<T>::refresh_attenuations() {
  auto* reads = device::cycle_reads::current();
  if (!reads) return;
  std::vector<device::read_wish> wishes;
  for (const auto& done : turns_) {
    if (done.reads_back)
      wss_->declare_channel_reads(done.control->get_channel()->get_id(), false, wishes);
  }
  reads->complete(wishes);
}

template <class T>
void client_loop<T>::read_back(const control_ptr& control) {
  if (turn_) {
    turn_->reads_back = true;
    return;
  }
  const auto channel = control->get_channel();
  channel->set_attenuation(wss_->get_attenuation(channel->get_id()));
}

template <class T>
void client_loop<T>::tell_verdicts() {
  for_each_ready_channel([&](const control_ptr& control) {
    plan_->get_board()->look(*control->get_record(), control->get_verdict());
  });
  plan_->get_board()->finish();
}

template <class T>
void client_loop<T>::conclude_all(::insight::channel_reason reason, const std::string& text) {
  const std::lock_guard lock(plan_->get_mutex());
  for_each_ready_channel([&](const control_ptr& control) { control->note_failure(reason, text); });
  tell_verdicts();
}

}  // namespace manager::loops
