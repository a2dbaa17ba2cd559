// Definitions of client_loop: devices, values, and one channel's turn in a cycle. The plan is in
// client_loop_plan.ipp, the closed loop and the calibration in client_loop_peak.ipp, what becomes
// of a channel that is dark or blocked in client_loop_dark.ipp.
#pragma once

#include <fmt/format.h>

#include "api/config_param.h"
#include "api/hysteresis_filtered_value.h"
#include "base/channel/arithmetic.h"
#include "base/insight/channel_board.h"
#include "base/manager/leds.h"
#include "base/manager/loops/client_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"

namespace manager::loops {

template <class T>
client_loop<T>::client_loop(const client_direction& direction, plan_ptr plan,
                            std::shared_ptr<manager::remote::api> remote)
    : direction_(direction),
      plan_(std::move(plan)),
      remote_(std::move(remote)),
      values_(nx::api::value_group::create(1)),
      edfa_calibration_((calibration::instance().board().*direction.board_calibration)()) {}

template <class T>
void client_loop<T>::set_wss(std::shared_ptr<device::interfaces::wss> wss) {
  wss_ = std::move(wss);
  devices_.push_back(wss_);
}

template <class T>
void client_loop<T>::set_ocm(std::shared_ptr<device::interfaces::ocm> ocm) {
  ocm_ = std::move(ocm);
  devices_.push_back(ocm_);
}

template <class T>
void client_loop<T>::set_edfa(std::shared_ptr<device::interfaces::edfa> edfa) {
  edfa_ = std::move(edfa);
  devices_.push_back(edfa_);
}

template <class T>
void client_loop<T>::set_osc(std::shared_ptr<device::interfaces::osc> osc) {
  osc_ = std::move(osc);
  devices_.push_back(osc_);
}

template <class T>
void client_loop<T>::set_leds(std::shared_ptr<manager::leds> leds) {
  leds_ = std::move(leds);
}

template <class T>
bool client_loop<T>::is_operational() {
  return wss_->is_operational() && ocm_->is_operational() && edfa_->is_operational();
}

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
void client_loop<T>::declare_reads(std::vector<device::read_wish>& wishes) {
  for (const auto& device : devices_)
    device->declare_reads(wishes);
  const std::lock_guard lock(plan_->get_mutex());
  for_each_ready_channel([&](const control_ptr& control) {
    wss_->declare_channel_reads(control->get_channel()->get_id(), blocks_channels(), wishes);
  });
}

template <class T>
void client_loop<T>::init(nx_db& db) {
  const auto bring_up = [&] {
    operational = true;
    if (!plan_is_set_up_ || !wss_->is_channel_plan_loaded() || !ocm_->is_channel_plan_loaded()) {
      LUMORA_LOG(2, fmt::runtime(direction_.plan_not_loaded));
      setup_channel_plan(db);
    }
    setup_device_subscription();
    store_gain();
    const std::lock_guard lock(plan_->get_mutex());
    helpers::walk_guard walk;
    std::size_t channels = 0;
    for_each_ready_channel([&](const control_ptr& control) {
      ++channels;
      walk.run([&] { update_channel(control); });
    });
    walk.throw_if_all_failed(channels);
    update_edfa_calibration();
  };
  helpers::logged_and_thrown(bring_up, [this] {
    operational = false;
    conclude_all(::insight::channel_reason::loop_down, helpers::current_exception_text());
  });
  LUMORA_LOG(2, fmt::runtime(direction_.operational));
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
void client_loop<T>::tell_verdicts() {
  for_each_ready_channel([&](const control_ptr& control) {
    plan_->get_board()->look(*control->get_record(), control->get_verdict());
  });
  plan_->get_board()->finish();
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
void client_loop<T>::conclude_all(::insight::channel_reason reason, const std::string& text) {
  const std::lock_guard lock(plan_->get_mutex());
  for_each_ready_channel([&](const control_ptr& control) { control->note_failure(reason, text); });
  tell_verdicts();
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
bool client_loop<T>::clean_subscriptions() {
  bool all_alive = true;
  for (const auto& device : devices_) {
    if (!device->has_subscriber()) continue;
    const auto subscriber = *device->get_subscriber();
    all_alive = subscriber->is_operational() && all_alive;
    // A device that ends a subscription leaves nothing behind that could fail.
    all_alive = !subscriber->take_dropped() && all_alive;
  }
  return all_alive;
}

template <class T>
float client_loop<T>::get_channel_target_power(control_ptr control) {
  const float width_ghz = control->get_channel()->get_width();
  return edfa_->get_power_limit() + ::channel::band_share_db(width_ghz);
}

template <class T>
void client_loop<T>::set_wanted_power_offset(unsigned channel, float wanted_power) {
  constexpr float lowest = -2.0f;
  constexpr float highest = 12.0f;
  if (wanted_power < lowest || wanted_power > highest) {
    throw nx_error(nx_error::invalid, fmt::format("Wanted power {} is out of range [{}, {}].",
                                                  wanted_power, lowest, highest));
  }
  const auto control = plan_->get_channel(channel);
  if (!control || !(*control)->get_channel()->is_api_ready()) {
    throw nx_error(nx_error::invalid, fmt::format("Channel {} not found.", channel));
  }
  (*control)->get_channel()->set_wanted_power_offset(wanted_power -
                                                     get_channel_target_power(*control));
}

template <class T>
void client_loop<T>::setup_api(nx_db& db) {
  values_->add_value(nx::api::polled_value<&client_loop<T>::get_edfa_calibration>::create(
                         db, direction_.edfa_calibration_path, this->shared_from_this()),
                     1);
  edfa_saturation_value_ =
      nx::api::status_value<float>::create(db, direction_.edfa_saturation_path, 0.0f, 1);
}

template <class T>
void client_loop<T>::setup_channel_api(nx_db& db, control_ptr control) {
  const auto channel = control->get_channel();
  control->setup_channel_api(db, channel->get_value_group());
  const auto record = control->get_record();
  record->setup_api(db, channel->get_id(), channel->get_center_frequency(), direction_.word);
  plan_->get_board()->enter(record);
}

template <class T>
void client_loop<T>::publish_wanted_power(nx_db& db, const control_ptr& control) {
  const auto channel = control->get_channel();
  // Bound to the plan's key: a model may number its channels differently on the tree.
  channel->get_value_group()->add_value(
      nx::api::config_param<&client_loop<T>::set_wanted_power_offset>::create(
          db, fmt::format(fmt::runtime(direction_.wanted_power_offset_path), channel->get_id()),
          get_channel_target_power(control), this->shared_from_this(),
          channel->get_center_frequency()),
      0);
}

}  // namespace manager::loops
