// The one shape in which remote::api sees any peer: one getter for each value that this node may
// want of the far end. An adapter subscribes to the paths of its product family on the peer and
// reads the values from the subscription cache; what a family does not have is refused with a fixed
// text, since polled values publish it.
//
// Called from several threads at once; adapters have no state that changes.
// Getters throw nx_error -22: the family lacks the value, or the peer has not delivered it yet.
#pragma once

#include <memory>
#include <string>

#include "device/subscriber.h"

namespace manager::remote {
class client;
}

namespace manager::remote::device {

using client_ptr = std::shared_ptr<manager::remote::client>;
using subscriber_ptr = std::shared_ptr<::device::subscriber>;

class interface {
 public:
  virtual ~interface() = default;

  /// Throws nx_error -5 when there is no connection, -22 when a path never delivers a value.
  virtual void subscribe(const client_ptr& client, const subscriber_ptr& values) = 0;
  virtual void subscribe_channel(const client_ptr& client, const subscriber_ptr& values,
                                 unsigned id) = 0;

  virtual std::string get_hostname(const subscriber_ptr& values) = 0;
  virtual float get_fiber_length(const subscriber_ptr& values) = 0;
  virtual float get_utilization(const subscriber_ptr& values) = 0;
  virtual float get_line_tx_total_power(const subscriber_ptr& values) = 0;
  virtual float get_line_rx_total_power(const subscriber_ptr& values) = 0;
  virtual float get_line_tx_power(const subscriber_ptr& values) = 0;
  virtual float get_line_rx_power(const subscriber_ptr& values) = 0;
  virtual float get_line_target_power(const subscriber_ptr& values) = 0;
  virtual float get_client_target_power(const subscriber_ptr& values) = 0;
  virtual std::string get_line_interface_name(const subscriber_ptr& values,
                                              const std::string& direction) = 0;
  virtual float get_dispersion(const subscriber_ptr& values) = 0;
  virtual float get_osc_loss(const subscriber_ptr& values) = 0;
  virtual float get_osc_attenuation(const subscriber_ptr& values) = 0;
  virtual float get_osc_tx_power(const subscriber_ptr& values) = 0;
  virtual float get_osc_rx_power(const subscriber_ptr& values) = 0;
  virtual float get_preamp_power_limit(const subscriber_ptr& values) = 0;
  virtual float get_preamp_gain(const subscriber_ptr& values) = 0;
  virtual float get_edfa_tx_saturation(const subscriber_ptr& values) = 0;
  virtual float get_edfa_tx_calibration(const subscriber_ptr& values) = 0;
  virtual float get_preamp_default_gain(const subscriber_ptr& values) = 0;
  virtual std::string get_channel_rx_status(const subscriber_ptr& values, unsigned id) = 0;
  virtual std::string get_channel_tx_status(const subscriber_ptr& values, unsigned id) = 0;
  virtual float get_channel_osnr(const subscriber_ptr& values, unsigned id) = 0;
  virtual float get_channel_tx_peak(const subscriber_ptr& values, unsigned id) = 0;
  virtual float get_channel_tx_ocm_power(const subscriber_ptr& values, unsigned id) = 0;
  virtual float get_channel_rx_power(const subscriber_ptr& values, unsigned id) = 0;
  virtual float get_channel_tx_power(const subscriber_ptr& values, unsigned id) = 0;
  virtual std::string get_spanloss_section(const subscriber_ptr& values) = 0;
  virtual float get_ots_spanloss_tx(const subscriber_ptr& values) = 0;
  virtual float get_ots_spanloss_rx(const subscriber_ptr& values) = 0;
  virtual float get_oms_spanloss_tx(const subscriber_ptr& values) = 0;
  virtual float get_oms_spanloss_rx(const subscriber_ptr& values) = 0;
  virtual bool is_embedded_ila() = 0;
  virtual float get_channel_detection_level(const subscriber_ptr& values) = 0;
  virtual bool has_osnr() = 0;
  virtual float get_tdcm_dispersion(const subscriber_ptr& values) = 0;
  virtual float get_final_dispersion(const subscriber_ptr& values) = 0;
  virtual std::string get_fiber_type(const subscriber_ptr& values) = 0;
  virtual float get_tdcm_offset(const subscriber_ptr& values) = 0;
};

}  // namespace manager::remote::device
