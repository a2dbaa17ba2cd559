// The one shape in which remote::api sees any peer: one getter for each value that this node may
// want of the far end. An adapter subscribes to the paths of its product family on the peer and
// reads the values from the subscription cache; what a family does not have is refused with a fixed
// text, since polled values publish it.
//
// Called from several threads at once; adapters have no state that changes.
// Getters throw nx_error -22: the family lacks the value, or the peer has not delivered it yet.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/manager/remote/device/value_table.h"
#include "device/subscriber.h"

namespace manager::remote::device {

using subscriber_ptr = std::shared_ptr<::device::subscriber>;
using known_number = std::optional<::device::reading<float>>;

/// Paths that are subscribed in one piece, and what the log says before and after it.
struct path_group {
  const char* starting = "";
  const char* complete = "";
  std::vector<::device::wanted_path> paths;
};

class interface {
 public:
  virtual ~interface() = default;

  /// What the getters read, of the line as a whole and of a channel.
  virtual path_group line_paths() = 0;
  virtual path_group channel_paths(unsigned id) = 0;

  /// The number behind the getter of that name, `id` being the channel's; a truth value is 1 or 0.
  /// Empty for a constant, a refusal or a text, and while the subscription does not know it.
  virtual known_number find_known(const subscriber_ptr& values, operation what,
                                  std::optional<unsigned> id) = 0;

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
