// The getters of the peer's values: all of them ask the adapter in force.
#include "base/manager/remote/api.h"

namespace manager::remote {

template <class Result, class... Parameters, class... Args>
Result api::forward(Result (device::interface::*operation)(const device::subscriber_ptr&,
                                                           Parameters...),
                    const Args&... args) {
  const auto from = present_view();
  return (from.adapter.get()->*operation)(from.values, args...);
}

std::string api::get_hostname() {
  return forward(&device::interface::get_hostname);
}

float api::get_fiber_length() {
  return forward(&device::interface::get_fiber_length);
}

float api::get_utilization() {
  return forward(&device::interface::get_utilization);
}

float api::get_line_tx_total_power() {
  return forward(&device::interface::get_line_tx_total_power);
}

float api::get_line_rx_total_power() {
  return forward(&device::interface::get_line_rx_total_power);
}

float api::get_line_tx_power() {
  return forward(&device::interface::get_line_tx_power);
}

float api::get_line_rx_power() {
  return forward(&device::interface::get_line_rx_power);
}

float api::get_line_target_power() {
  return forward(&device::interface::get_line_target_power);
}

float api::get_client_target_power() {
  return forward(&device::interface::get_client_target_power);
}

std::string api::get_line_interface_name(const std::string& direction) {
  return forward(&device::interface::get_line_interface_name, direction);
}

float api::get_dispersion() {
  return forward(&device::interface::get_dispersion);
}

float api::get_osc_loss() {
  return forward(&device::interface::get_osc_loss);
}

float api::get_osc_attenuation() {
  return forward(&device::interface::get_osc_attenuation);
}

float api::get_osc_tx_power() {
  return forward(&device::interface::get_osc_tx_power);
}

float api::get_osc_rx_power() {
  return forward(&device::interface::get_osc_rx_power);
}

float api::get_preamp_power_limit() {
  return forward(&device::interface::get_preamp_power_limit);
}

float api::get_preamp_gain() {
  return forward(&device::interface::get_preamp_gain);
}

float api::get_edfa_tx_saturation() {
  return forward(&device::interface::get_edfa_tx_saturation);
}

float api::get_edfa_tx_calibration() {
  return forward(&device::interface::get_edfa_tx_calibration);
}

float api::get_preamp_default_gain() {
  return forward(&device::interface::get_preamp_default_gain);
}

std::string api::get_channel_rx_status(unsigned id) {
  return forward(&device::interface::get_channel_rx_status, id);
}

std::string api::get_channel_tx_status(unsigned id) {
  return forward(&device::interface::get_channel_tx_status, id);
}

float api::get_channel_osnr(unsigned id) {
  return forward(&device::interface::get_channel_osnr, id);
}

float api::get_channel_tx_peak(unsigned id) {
  return forward(&device::interface::get_channel_tx_peak, id);
}

float api::get_channel_tx_ocm_power(unsigned id) {
  return forward(&device::interface::get_channel_tx_ocm_power, id);
}

float api::get_channel_rx_power(unsigned id) {
  return forward(&device::interface::get_channel_rx_power, id);
}

float api::get_channel_tx_power(unsigned id) {
  return forward(&device::interface::get_channel_tx_power, id);
}

std::string api::get_spanloss_section() {
  return forward(&device::interface::get_spanloss_section);
}

float api::get_ots_spanloss_tx() {
  return forward(&device::interface::get_ots_spanloss_tx);
}

float api::get_ots_spanloss_rx() {
  return forward(&device::interface::get_ots_spanloss_rx);
}

float api::get_oms_spanloss_tx() {
  return forward(&device::interface::get_oms_spanloss_tx);
}

float api::get_oms_spanloss_rx() {
  return forward(&device::interface::get_oms_spanloss_rx);
}

float api::get_channel_detection_level() {
  return forward(&device::interface::get_channel_detection_level);
}

float api::get_tdcm_dispersion() {
  return forward(&device::interface::get_tdcm_dispersion);
}

float api::get_final_dispersion() {
  return forward(&device::interface::get_final_dispersion);
}

std::string api::get_fiber_type() {
  return forward(&device::interface::get_fiber_type);
}

float api::get_tdcm_offset() {
  return forward(&device::interface::get_tdcm_offset);
}

}  // namespace manager::remote
