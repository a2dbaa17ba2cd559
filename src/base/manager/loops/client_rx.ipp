// Definitions of client_rx; included where it is instantiated.
#pragma once

#include "base/manager/loops/client_loop.ipp"
#include "base/manager/loops/client_rx.h"

namespace manager::loops {

template <class T>
client_rx<T>::client_rx(plan_ptr plan, std::shared_ptr<manager::remote::api> remote)
    : base(client_rx_direction, std::move(plan), std::move(remote)) {}

template <class T>
std::shared_ptr<client_rx<T>> client_rx<T>::shared_self() {
  return std::static_pointer_cast<client_rx<T>>(this->shared_from_this());
}

template <class T>
void client_rx<T>::run(nx_db& db, bool regulate) {
  const auto follow_amplifier = [this] {
    if (this->is_operational()) {
      this->update_edfa_calibration();
    } else {
      this->operational = false;
    }
  };
  // The channels are managed even if the devices have failed the test: each access then fails or
  // succeeds on its own.
  if (!helpers::guarded(follow_amplifier)) this->operational = false;
  const std::lock_guard lock(this->plan_->get_mutex());
  this->peak_regulated = false;
  if (!this->walk_channels(db, regulate)) this->operational = false;
  this->operational = this->clean_subscriptions() && this->operational;
}

template <class T>
void client_rx<T>::store_calibration(float calibration_db) {
  calibration::instance().rx_edfa_calibration = calibration_db;
}

template <class T>
void client_rx<T>::store_gain() {
  calibration::instance().booster_gain = this->edfa_->get_gain();
}

template <class T>
float client_rx<T>::get_client_target_power() {
  const double limit = this->edfa_->get_power_limit();
  const std::lock_guard lock(this->plan_->get_mutex());
  const auto channels = static_cast<double>(this->plan_->get_channels()->size());
  return static_cast<float>(limit - 10.0 * std::log10(channels));
}

template <class T>
float client_rx<T>::get_remote_target_power() {
  return this->remote_->get_client_target_power();
}

template <class T>
float client_rx<T>::get_remote_channel_tx_power(unsigned id) {
  return this->remote_->get_channel_tx_power(id);
}

template <class T>
std::string client_rx<T>::get_remote_rx_status(unsigned id) {
  return this->remote_->get_channel_rx_status(id);
}

template <class T>
void client_rx<T>::setup_api(nx_db& db) {
  base::setup_api(db);
  const auto self = shared_self();
  this->values_->add_value(nx::api::polled_value<&client_rx<T>::get_client_target_power>::create(
                               db, "data/client/rx/targetPower", self),
                           1);
  this->values_->add_value(nx::api::polled_value<&client_rx<T>::get_remote_target_power>::create(
                               db, "data/client/rx/remoteTargetPower", self),
                           1);
}

template <class T>
void client_rx<T>::setup_channel_api(nx_db& db, control_ptr control) {
  base::setup_channel_api(db, control);
  const auto self = shared_self();
  const auto channel = control->get_channel();
  const auto id = channel->get_id();
  const auto values = channel->get_value_group();
  values->add_value(nx::api::polled_value<&client_rx<T>::get_remote_channel_tx_power>::create(
                        db, fmt::format("data/client/{}/rx/remoteTxPower", id), self, id),
                    3);
  values->add_value(nx::api::polled_value<&client_rx<T>::get_remote_rx_status>::create(
                        db, fmt::format("data/client/{}/rx/remoteStatus", id), self, id),
                    3);
  this->publish_wanted_power(db, control);
}

}  // namespace manager::loops
