// Definitions of client_tx; included where it is instantiated.
#pragma once

#include "base/manager/loops/client_loop.ipp"
#include "base/manager/loops/client_tx.h"

namespace manager::loops {

template <class T>
client_tx<T>::client_tx(plan_ptr plan, std::shared_ptr<manager::remote::api> remote)
    : base(client_tx_direction, std::move(plan), std::move(remote)) {}

template <class T>
std::shared_ptr<client_tx<T>> client_tx<T>::shared_self() {
  return std::static_pointer_cast<client_tx<T>>(this->shared_from_this());
}

template <class T>
void client_tx<T>::manage_channel_peak(control_ptr, bool) {}

template <class T>
void client_tx<T>::manage_channel(nx_db& db, control_ptr control, bool) {
  // Neither the update count nor the memory of a last step is changed: nothing is regulated here.
  control->conclude(control->get_channel()->get_peak() ? ::insight::channel_reason::held_at_default
                                                       : ::insight::channel_reason::no_light);
  this->park_channel(control, 1);
  this->report_loss_of_signal(db, control);
}

template <class T>
void client_tx<T>::work_on_channels(nx_db& db, bool regulate) {
  if (!this->is_operational()) {
    this->operational = false;
    return;
  }
  this->update_edfa_calibration();
  if (!this->walk_channels(db, regulate)) this->operational = false;
}

template <class T>
void client_tx<T>::run(nx_db& db, bool regulate) {
  this->peak_regulated = false;
  const std::lock_guard lock(this->plan_->get_mutex());
  if (!helpers::guarded([&] { work_on_channels(db, regulate); })) this->operational = false;
  this->operational = this->clean_subscriptions() && this->operational;
}

template <class T>
void client_tx<T>::store_calibration(float calibration_db) {
  calibration::instance().tx_edfa_calibration = calibration_db;
}

template <class T>
float client_tx<T>::get_remote_channel_rx_power(unsigned id) {
  return this->remote_->get_channel_rx_power(id);
}

template <class T>
std::string client_tx<T>::get_remote_channel_tx_status(unsigned id) {
  return this->remote_->get_channel_tx_status(id);
}

template <class T>
void client_tx<T>::setup_channel_api(nx_db& db, control_ptr control) {
  base::setup_channel_api(db, control);
  const auto self = shared_self();
  const auto channel = control->get_channel();
  const auto id = channel->get_id();
  const auto values = channel->get_value_group();
  values->add_value(nx::api::polled_value<&client_tx<T>::get_remote_channel_rx_power>::create(
                        db, fmt::format("data/client/{}/tx/remoteRxPower", id), self, id),
                    3);
  values->add_value(nx::api::polled_value<&client_tx<T>::get_remote_channel_tx_status>::create(
                        db, fmt::format("data/client/{}/tx/remoteStatus", id), self, id),
                    3);
  this->publish_wanted_power(db, control);
}

}  // namespace manager::loops
