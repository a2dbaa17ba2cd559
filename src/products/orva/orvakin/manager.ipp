// Definitions of the orvakin manager; included where it is instantiated.
#pragma once

#include "base/manager/base.ipp"
#include "products/orva/orvakin/client_rx.h"
#include "products/orva/orvakin/client_tx.h"
#include "products/orva/orvakin/line.h"
#include "products/orva/orvakin/manager.h"

namespace products::orva::orvakin {

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_client_rx() {
  LUMORA_LOG(2, "Creating orvakin::client_rx instance.");
  this->client_rx_ = std::make_shared<client_rx<RX_T>>(this->rx_plan_, this->remote_, model_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_client_tx() {
  LUMORA_LOG(2, "Creating orvakin::client_tx instance.");
  this->client_tx_ = std::make_shared<client_tx<TX_T>>(this->tx_plan_, this->remote_, model_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_line() {
  LUMORA_LOG(2, "Creating orvakin::line instance.");
  this->line_ = std::make_shared<line<RX_T>>(this->rx_plan_, this->remote_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_channel_plans() {
  this->create_plans(model_.slices);
}

template <class RX_T, class TX_T>
template <class Plan, class Loop, class AddLed>
void manager<RX_T, TX_T>::setup_grouped_plan(nx_db& db, Plan& plan, Loop& loop, AddLed&& add_led) {
  const unsigned only_port = models::ports(model_).front();
  const auto& grid = model_.grid;
  const auto version = redis::instance().get_release_version();
  const std::lock_guard lock(plan.get_mutex());
  for (unsigned i = 0; i < grid.channels; ++i) {
    const auto control = plan.add_channel(grid.center(i), grid.spacing, only_port, version);
    control->get_channel()->set_id(i + 1);
  }
  for (const auto& [frequency, control] : *plan.get_channels()) {
    const auto channel = control->get_channel();
    channel->setup_api(db);
    loop.setup_channel_api(db, control);
    add_led(channel->get_center_frequency());
    channel->set_id(grid.place(channel->get_center_frequency()));
  }
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_rx_channel_plan(nx_db& db) {
  const auto setup = [&] {
    setup_grouped_plan(db, *this->rx_plan_, *this->client_rx_,
                       [this](unsigned frequency) { this->leds_->add_rx_channel(frequency); });
  };
  this->retry_until_done(setup, "Failed to setup RX channel-plan, retrying.");
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_tx_channel_plan(nx_db& db) {
  const auto setup = [&] {
    setup_grouped_plan(db, *this->tx_plan_, *this->client_tx_,
                       [this](unsigned frequency) { this->leds_->add_tx_channel(frequency); });
  };
  this->retry_until_done(setup, "Failed to setup TX channel-plan, retrying.");
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_line(nx_db& db) {
  this->build_line(db, false);
  this->init_line(db, true);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::update_channel_index() {
  if (!this->channel_index_) {
    LUMORA_LOG(2, "Channel index variable not yet initialized.");
    return;
  }
  std::set<unsigned> numbers;
  const std::lock_guard lock(this->rx_plan_->get_mutex());
  for (unsigned i = 1; i <= this->rx_plan_->get_channels()->size(); ++i)
    numbers.insert(i);
  this->publish_channel_index(numbers);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_leds(nx_db& db, bool coldstart) {
  this->start_leds(db, coldstart);
}

}  // namespace products::orva::orvakin
