// Definitions of the selka managers; included where they are instantiated.
#pragma once

#include "base/manager/base.ipp"
#include "device/hardware/selka_ocm.h"
#include "device/hardware/twin_wss.h"
#include "products/automation_values.h"
#include "products/selka/client_rx.h"
#include "products/selka/leds.h"
#include "products/selka/line.h"
#include "products/selka/manager.h"
#include "products/selka/selkaplus/leds.h"

namespace products::selka {

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_line() {
  LUMORA_LOG(2, "Creating selka::line instance.");
  this->line_ = std::make_shared<line<RX_T>>(this->tx_plan_, this->remote_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_channel_plans() {
  this->create_plans(get_slice_count());
}

template <class RX_T, class TX_T>
unsigned manager<RX_T, TX_T>::get_slice_count() {
  return model_.slices;
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_client_rx(nx_db& db) {
  const log_subject subject("rx");
  namespace paths = ::manager::nexel_paths;
  constexpr unsigned add_module = 0;
  LUMORA_LOG(2, "Creating client_rx devices.");
  LUMORA_LOG(2, "Creating selka::client_rx instance.");
  const auto io = db.get_io_context();
  const auto loop = std::make_shared<client_rx<RX_T>>(this->rx_plan_, this->remote_);
  this->client_rx_ = loop;
  loop->set_voa(std::make_shared<device::hardware::voa>(io, paths::voa));
  loop->set_wss(std::make_shared<device::hardware::twin_wss>(io, paths::twin_wss, add_module));
  loop->set_ocm(std::make_shared<device::hardware::selka_ocm>(io, paths::selka_ocm, add_module));
  loop->set_edfa(std::make_shared<device::hardware::edfa>(io, paths::booster));
  loop->set_osc(std::make_shared<device::hardware::osc>(io, paths::osc));
  loop->set_leds(this->leds_);
  this->setup_rx_channel_plan(db);
  loop->setup_api(db);
  this->init_client_rx(db);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_client_tx(nx_db& db) {
  const log_subject subject("tx");
  namespace paths = ::manager::nexel_paths;
  constexpr unsigned drop_module = 1;
  LUMORA_LOG(2, "Creating client_tx devices.");
  this->create_client_tx();
  const auto io = db.get_io_context();
  auto& loop = *this->client_tx_;
  loop.set_wss(std::make_shared<device::hardware::twin_wss>(io, paths::twin_wss, drop_module));
  loop.set_ocm(std::make_shared<device::hardware::selka_ocm>(io, paths::selka_ocm, drop_module));
  loop.set_edfa(std::make_shared<device::hardware::edfa>(io, paths::preamp));
  loop.set_osc(std::make_shared<device::hardware::osc>(io, paths::osc));
  loop.set_leds(this->leds_);
  this->setup_tx_channel_plan(db);
  loop.setup_api(db);
  this->init_client_tx(db);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::periodic_update() {}

template <class RX_T, class TX_T>
bool manager<RX_T, TX_T>::supports_embedded_ila() {
  return false;
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<selka::leds>();
}

template <class RX_T, class TX_T>
void selkaplus::manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<selkaplus::leds>();
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
  this->values_->add_value(nx::api::const_value<std::string>::create(
                               db, "data/system/availableWssPorts", get_wss_ports()),
                           0);
}

}  // namespace products::selka
