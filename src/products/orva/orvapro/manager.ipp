// Definitions of the orvapro manager; included where it is instantiated.
#pragma once

#include <stdexcept>

#include "device/hardware/optoswitch.h"
#include "device/hardware/tdcm.h"
#include "products/orva/manager.ipp"
#include "products/orva/orvapro/client_tx.h"
#include "products/orva/orvapro/line.h"
#include "products/orva/orvapro/manager.h"

namespace products::orva::orvapro {

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_client_tx() {
  LUMORA_LOG(2, "Creating orvapro::client_tx instance.");
  this->client_tx_ = std::make_shared<client_tx<TX_T>>(this->tx_plan_, this->remote_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::create_line() {
  this->line_ = std::make_shared<line<RX_T>>(this->rx_plan_, this->remote_);
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::add_client_tx_devices(nx_db& db) {
  const auto loop = std::dynamic_pointer_cast<client_tx<TX_T>>(this->client_tx_);
  if (!loop) {
    throw std::runtime_error("Failed to cast _client_tx to products::orva::orvapro::client_tx");
  }
  loop->set_tdcm(
      std::make_shared<device::hardware::tdcm>(db.get_io_context(), ::manager::nexel_paths::tdcm));
}

template <class RX_T, class TX_T>
void manager<RX_T, TX_T>::setup_line(nx_db& db) {
  base::setup_line(db);
  const auto loop = std::dynamic_pointer_cast<line<RX_T>>(this->line_);
  if (!loop) throw std::runtime_error("Failed to cast _line to products::orva::orvapro::line");
  const auto io = db.get_io_context();
  loop->set_dispersion_devices(
      std::make_shared<device::hardware::tdcm>(io, ::manager::nexel_paths::tdcm),
      std::make_shared<device::hardware::optoswitch>(io, ::manager::nexel_paths::optical_switch));
}

}  // namespace products::orva::orvapro
