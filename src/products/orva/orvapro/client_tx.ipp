#pragma once

#include "products/orva/client_tx.ipp"
#include "products/orva/orvapro/client_tx.h"

namespace products::orva::orvapro {

template <class T>
float client_tx<T>::osnr_bandwidth_of(const control_ptr&) {
  return compensated_bandwidth(dispersion_.get([this] { return tdcm_->get_dispersion(); }));
}

template <class T>
void client_tx<T>::begin_osnr_pass() {
  base::begin_osnr_pass();
  dispersion_.forget();
}

template <class T>
void client_tx<T>::log_osnr(unsigned id, float power, float neighbor, float osnr) {
  LUMORA_LOG(0, "calculate_channel_osnr({}) power: {} dbm neighbor: {} dbm res: {}", id, power,
             neighbor, osnr);
}

}  // namespace products::orva::orvapro
