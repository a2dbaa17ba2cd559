// Definitions of the orvakin client loops; included where they are instantiated.
#pragma once

#include <algorithm>

#include "base/manager/loops/client_rx.ipp"
#include "products/orva/client_tx.ipp"
#include "products/orva/orvakin/client_rx.h"
#include "products/orva/orvakin/client_tx.h"

namespace products::orva::orvakin {

template <class T>
float client_rx<T>::get_edfa_saturation() {
  return std::min(this->edfa_->get_saturation(), saturation_cap_);
}

template <class T>
float client_tx<T>::get_edfa_saturation() {
  return std::min(this->edfa_->get_saturation(), saturation_cap_);
}

template <class T>
void client_tx<T>::manage_channel(nx_db& db, control_ptr control, bool regulate) {
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): the parents leave regulation out
  closed_loop::manage_channel(db, control, regulate);
}

template <class T>
void client_tx<T>::manage_channel_peak(control_ptr control, bool regulate) {
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): the parents leave regulation out
  closed_loop::manage_channel_peak(control, regulate);
}

template <class T>
void client_tx<T>::log_peak(const typename base::peak_report& report) {
  LUMORA_LOG(0,
             "manage_channel_peak({}, {}): fiber_length: {}, edfa_power_limit: {}, "
             "edfa_calibration: {}, channel_power: {}, channel_target_power: {}, "
             "power_difference: {}, regulation possible: {}",
             report.id, report.regulate, report.fiber_length, report.edfa_power_limit,
             report.edfa_calibration, report.channel_power, report.channel_target_power,
             report.power_difference, report.possible);
}

}  // namespace products::orva::orvakin
