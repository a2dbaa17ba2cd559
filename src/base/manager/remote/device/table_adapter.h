// The adapter of a product family whose values are told by the value table: walks the family's
// column for every getter. Families add what they subscribe.
#pragma once

#include "base/manager/remote/device/interface.h"
#include "base/manager/remote/device/value_table.h"

namespace manager::remote::device {

class table_adapter : public interface {
 public:
  explicit table_adapter(family peer) : family_(peer) {}

  known_number find_known(const subscriber_ptr& values, operation what,
                          std::optional<unsigned> id) override;

  std::string get_hostname(const subscriber_ptr& values) override;
  float get_fiber_length(const subscriber_ptr& values) override;
  float get_utilization(const subscriber_ptr& values) override;
  float get_line_tx_total_power(const subscriber_ptr& values) override;
  float get_line_rx_total_power(const subscriber_ptr& values) override;
  float get_line_tx_power(const subscriber_ptr& values) override;
  float get_line_rx_power(const subscriber_ptr& values) override;
  float get_line_target_power(const subscriber_ptr& values) override;
  float get_client_target_power(const subscriber_ptr& values) override;
  std::string get_line_interface_name(const subscriber_ptr& values,
                                      const std::string& direction) override;
  float get_dispersion(const subscriber_ptr& values) override;
  float get_osc_loss(const subscriber_ptr& values) override;
  float get_osc_attenuation(const subscriber_ptr& values) override;
  float get_osc_tx_power(const subscriber_ptr& values) override;
  float get_osc_rx_power(const subscriber_ptr& values) override;
  float get_preamp_power_limit(const subscriber_ptr& values) override;
  float get_preamp_gain(const subscriber_ptr& values) override;
  float get_edfa_tx_saturation(const subscriber_ptr& values) override;
  float get_edfa_tx_calibration(const subscriber_ptr& values) override;
  float get_preamp_default_gain(const subscriber_ptr& values) override;
  std::string get_channel_rx_status(const subscriber_ptr& values, unsigned id) override;
  std::string get_channel_tx_status(const subscriber_ptr& values, unsigned id) override;
  float get_channel_osnr(const subscriber_ptr& values, unsigned id) override;
  float get_channel_tx_peak(const subscriber_ptr& values, unsigned id) override;
  float get_channel_tx_ocm_power(const subscriber_ptr& values, unsigned id) override;
  float get_channel_rx_power(const subscriber_ptr& values, unsigned id) override;
  float get_channel_tx_power(const subscriber_ptr& values, unsigned id) override;
  std::string get_spanloss_section(const subscriber_ptr& values) override;
  float get_ots_spanloss_tx(const subscriber_ptr& values) override;
  float get_ots_spanloss_rx(const subscriber_ptr& values) override;
  float get_oms_spanloss_tx(const subscriber_ptr& values) override;
  float get_oms_spanloss_rx(const subscriber_ptr& values) override;
  bool is_embedded_ila() override;
  float get_channel_detection_level(const subscriber_ptr& values) override;
  bool has_osnr() override;
  float get_tdcm_dispersion(const subscriber_ptr& values) override;
  float get_final_dispersion(const subscriber_ptr& values) override;
  std::string get_fiber_type(const subscriber_ptr& values) override;
  float get_tdcm_offset(const subscriber_ptr& values) override;

 private:
  const cell& find(operation what) const { return cell_of(what, family_); }

  family family_;
};

}  // namespace manager::remote::device
