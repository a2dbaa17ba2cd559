// Definitions of the orva manager; included where it is instantiated.
#pragma once

#include "base/manager/base.ipp"
#include "products/automation_values.h"
#include "products/orva/client_tx.h"
#include "products/orva/fixed_plan.h"
#include "products/orva/leds.h"
#include "products/orva/manager.h"

namespace products::orva {

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_client_tx() {
  LUMORA_LOG(2, "Creating orva::client_tx instance.");
  this->client_tx_ = std::make_shared<client_tx<TX_T>>(this->tx_plan_, this->remote_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_channel_plans() {
  this->create_plans(model_.slices);
}

template <class RX_T, class TX_T>
template <class Plan, class Loop, class AddLed>
void manager<RX_T, TX_T>::setup_fixed_plan(nx_db& db, Plan& plan, Loop& loop, AddLed&& add_led) {
  const unsigned only_port = models::ports(model_).front();
  const auto& grid = model_.grid;
  const auto version = redis::instance().get_release_version();
  const std::lock_guard lock(plan.get_mutex());
  for (unsigned i = 0; i < grid.channels; ++i) {
    const auto center = grid.center(i);
    const auto control = plan.add_channel(center, grid.spacing, only_port, version);
    control->get_channel()->set_loss_offset_index(i);
  }
  for (const auto& [frequency, control] : *plan.get_channels()) {
    control->get_channel()->setup_api(db);
    loop.setup_channel_api(db, control);
    add_led(control->get_channel()->get_id());
  }
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_rx_channel_plan(nx_db& db) {
  const auto setup = [&] {
    setup_fixed_plan(db, *this->rx_plan_, *this->client_rx_,
                     [this](unsigned id) { this->leds_->add_rx_channel(id); });
  };
  this->retry_until_done(setup, "Failed to setup RX channel-plan, retrying.");
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_tx_channel_plan(nx_db& db) {
  const auto setup = [&] {
    setup_fixed_plan(db, *this->tx_plan_, *this->client_tx_,
                     [this](unsigned id) { this->leds_->add_tx_channel(id); });
  };
  this->retry_until_done(setup, "Failed to setup TX channel-plan, retrying.");
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::update_utilization() {
  unsigned lit = 0;
  // Published under the same lock, so that the later of two counts stays.
  const std::lock_guard lock(this->rx_plan_->get_mutex());
  for (const auto& [frequency, control] : *this->rx_plan_->get_channels()) {
    if (control->get_channel()->get_peak()) ++lit;
  }
  this->utilization_->update(utilization(model_.grid, lit));
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<orva::leds>(model_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_leds(nx_db& db, bool coldstart) {
  this->start_leds(db, coldstart);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_api(nx_db& db) {
  base::setup_api(db);
  using self_type = manager<RX_T, TX_T>;
  const auto self = std::static_pointer_cast<self_type>(this->shared_from_this());
  publish_automation_mode(db, *this->values_, self);
}

}  // namespace products::orva
