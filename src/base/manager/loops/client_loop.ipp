// Definitions of client_loop: its devices, how it is brought up with their subscriptions, and its
// own values. What it does in a cycle follows in client_loop_walk.ipp.
#pragma once

#include <fmt/format.h>

#include <set>

#include "api/hysteresis_filtered_value.h"
#include "base/manager/loops/client_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/guard.h"
#include "helpers/logger.h"

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
void client_loop<T>::setup_device_subscription() {
  const auto channel_count = [this] {
    const std::lock_guard lock(plan_->get_mutex());
    return plan_->get_channels()->size();
  };
  LUMORA_LOG(2, fmt::runtime(direction_.setting_up_subscriptions), channel_count());
  // The two views of a combined switch and monitor share one subscriber and are handled once.
  std::set<std::shared_ptr<device::subscriber>> done;
  std::set<unsigned> failed;
  for (const auto& device : devices_) {
    if (!device->has_subscriber()) continue;
    const auto subscriber = *device->get_subscriber();
    if (done.contains(subscriber)) continue;
    LUMORA_LOG(1, "Initializing subscriptions.");
    device->subscribe();
    LUMORA_LOG(1, "Initializing channel subscriptions.");
    failed.merge(subscribe_channels(*device));
    done.insert(subscriber);
  }
  count_subscribe_failures(failed);
}

template <class T>
std::set<unsigned> client_loop<T>::subscribe_channels(device::interface& device) {
  const std::lock_guard lock(plan_->get_mutex());
  std::vector<unsigned> channels;
  for (const auto& [frequency, control] : *plan_->get_channels()) {
    channels.push_back(control->get_channel()->get_id());
    LUMORA_LOG(1, fmt::runtime(direction_.subscribing), channels.back());
  }
  return device.subscribe_channels(channels);
}

template <class T>
void client_loop<T>::count_subscribe_failures(const std::set<unsigned>& failed) {
  constexpr unsigned failures_before_telling = 20;
  const std::lock_guard lock(plan_->get_mutex());
  for (const auto& [frequency, control] : *plan_->get_channels()) {
    const auto id = control->get_channel()->get_id();
    if (failed.contains(id)) {
      control->add_subscribe_failure();
      if (control->get_subscribe_failures() < failures_before_telling) continue;
      LUMORA_LOG_DIRECT(3, "setup_device_subscription",
                        fmt::format("Channel subscription failed 20 times on channel {} !!!!", id));
    }
    control->reset_subscribe_failures();
  }
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
void client_loop<T>::setup_api(nx_db& db) {
  values_->add_value(nx::api::polled_value<&client_loop<T>::get_edfa_calibration>::create(
                         db, direction_.edfa_calibration_path, this->shared_from_this()),
                     1);
  edfa_saturation_value_ =
      nx::api::status_value<float>::create(db, direction_.edfa_saturation_path, 0.0f, 1);
}

}  // namespace manager::loops

#include "base/manager/loops/client_loop_calibration.ipp"
#include "base/manager/loops/client_loop_dark.ipp"
#include "base/manager/loops/client_loop_plan.ipp"
#include "base/manager/loops/client_loop_walk.ipp"
