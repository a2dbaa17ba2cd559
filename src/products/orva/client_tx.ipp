// Definitions of the orva client TX loop; included where it is instantiated.
#pragma once

#include "api/volatile_value.h"
#include "base/manager/loops/client_tx.ipp"
#include "products/orva/client_tx.h"

namespace products::orva {

template <class T>
void client_tx<T>::run(nx_db& db, bool regulate) {
  base::run(db, regulate);
  const std::lock_guard lock(this->plan_->get_mutex());
  if (!helpers::guarded([this] { watch_osnr(); })) this->operational = false;
}

template <class T>
void client_tx<T>::watch_osnr() {
  constexpr std::chrono::nanoseconds interval{1999999999};
  if (!this->is_operational()) return;
  const auto now = helpers::steady_now();
  if (now - last_osnr_update_ > interval) {
    last_osnr_update_ = now;  // a pass that fails costs no more than one that succeeds
    if (!helpers::guarded([this] { calculate_channel_osnr(); })) this->operational = false;
  }
  set_channel_detection_level();
}

/// Empty if the peer needs none: a selka.
template <class T>
std::optional<float> client_tx<T>::wanted_detection_level() {
  try {
    return this->remote_->get_channel_detection_level();
  } catch (const nx_error& error) {
    LUMORA_LOG(1, "No channel detection level wanted by the peer: {}", error.message);
    return std::nullopt;
  }
}

template <class T>
void client_tx<T>::set_channel_detection_level() {
  constexpr double close_enough_db = 0.1;
  const auto channels = this->plan_->get_channels();
  if (channels->empty()) return;
  const auto wanted = wanted_detection_level();
  if (!wanted) return;
  const float level = *wanted;
  // Writing it through one channel is enough: the level applies to the whole monitor.
  const auto id = channels->begin()->second->get_channel()->get_id();
  const float current = this->ocm_->get_channel_detect_level(id);
  if (std::fabs(double{current} - double{level}) <= close_enough_db) return;
  LUMORA_LOG(2, "Setting channel detection level to {}.", level);
  this->ocm_->set_channel_detect_level(level);
}

template <class T>
std::vector<monitored_channel> client_tx<T>::monitored_channels() {
  std::vector<monitored_channel> result;
  for (const auto& [frequency, control] : *this->plan_->get_channels()) {
    const auto channel = control->get_channel();
    result.push_back({frequency, channel->get_peak(), channel->get_ocm_power()});
  }
  return result;
}

template <class T>
float client_tx<T>::osnr_bandwidth_of(const control_ptr& control) {
  return control->get_channel()->get_width();
}

template <class T>
void client_tx<T>::log_osnr(unsigned id, float power, float neighbor, float osnr) {
  LUMORA_LOG(0,
             "calculate_channel_osnr({}) power: {} dbm, neighbor: {} dbm, osnr bandwidth: {} dbm, "
             "res: {} dbm",
             id, power, neighbor, osnr_bandwidth_ghz, osnr);
}

template <class T>
float client_tx<T>::remote_osnr(unsigned id) {
  try {
    if (this->remote_->has_osnr() && osc_up_.get([this] { return this->osc_->is_operational(); })) {
      return this->remote_->get_channel_osnr(id);
    }
  } catch (...) {
    LUMORA_LOG(1, "Failed to get remote osnr for channel {}.", id);
  }
  return 0.0f;
}

template <class T>
float client_tx<T>::local_osnr(const control_ptr& control,
                               const std::vector<monitored_channel>& monitored) {
  const auto channel = control->get_channel();
  if (!channel->get_peak()) return 0.0f;
  const auto neighbor = closest_dark_power(monitored, channel->get_center_frequency());
  if (!neighbor) return 0.0f;
  const float power = channel->get_ocm_power();
  const float osnr = osnr_db(power, *neighbor, osnr_bandwidth_of(control));
  log_osnr(channel->get_id(), power, *neighbor, osnr);
  return std::isinf(osnr) ? 0.0f : osnr;
}

template <class T>
void client_tx<T>::begin_osnr_pass() {
  osc_up_.forget();
}

template <class T>
void client_tx<T>::update_osnr(const control_ptr& control,
                               const std::vector<monitored_channel>& monitored) {
  const auto channel = control->get_channel();
  channel->set_remote_osnr(remote_osnr(channel->get_id()));
  channel->set_osnr(local_osnr(control, monitored));
}

template <class T>
void client_tx<T>::calculate_channel_osnr() {
  begin_osnr_pass();
  const auto monitored = monitored_channels();
  std::exception_ptr first_failure;
  for (const auto& [frequency, control] : *this->plan_->get_channels()) {
    try {
      update_osnr(control, monitored);
    } catch (...) {
      if (!first_failure) first_failure = std::current_exception();
    }
  }
  if (first_failure) std::rethrow_exception(first_failure);
}

template <class T>
void client_tx<T>::setup_channel_api(nx_db& db, control_ptr control) {
  base::setup_channel_api(db, control);
  using channel_type = typename T::channel_type;
  const auto channel = control->get_channel();
  const auto id = channel->get_id();
  const auto values = channel->get_value_group();
  values->add_value(nx::api::polled_value<&channel_type::get_osnr>::create(
                        db, fmt::format("data/client/{}/tx/osnr", id), channel),
                    1);
  values->add_value(nx::api::volatile_value<&channel_type::get_remote_osnr>::create(
                        db, fmt::format("data/client/{}/tx/remoteOsnr", id), channel),
                    0);
}

}  // namespace products::orva
