// Regulation of a selka channel: the operator's optical control mode decides whether the channel is
// regulated ("power"), left alone ("gainLoss"), blocked ("off") or not managed at all ("n/a", the
// mode of a channel that nobody has configured).
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "base/channel/control/base.h"
#include "products/selka/channel/base.h"

namespace products::selka::channel {

enum class optical_control_mode : unsigned { off = 1, power = 2, gain_loss = 3, unknown = 4 };

/// These throw nx_error -22: for a text other than "off", "power" and "gainLoss", or an invalid
/// number.
optical_control_mode optical_control_mode_from_text(const std::string& text);
std::string to_text(optical_control_mode mode);

/// Name of a port of the selka switch; "n/a", and a log line, for an invalid number.
std::string selka_port_name(unsigned port);

template <class T>
class control : public ::channel::control::base<T> {
 public:
  using base = ::channel::control::base<T>;

  bool is_admin_down() override;
  bool can_regulate(std::shared_ptr<device::interfaces::wss> wss, float power_difference) override;
  void setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values) override;
  std::string get_wss_port_name() override;

  virtual std::string get_optical_control_mode();
  virtual bool is_optical_control_mode_known();
  /// dBm, from the node's global target; only shown, not used for regulation.
  virtual void set_target_output_power(float power);
  virtual float get_target_output_power();

  /// On a server thread. Throws nx_error -22 "Invalid optical control mode." and then changes
  /// nothing.
  void set_optical_control_mode(std::string text);

 private:
  void show_mode(std::shared_ptr<nx::api::pushed_value<std::string>> value);

  std::atomic<float> target_output_power_{0.0f};
  std::mutex mode_mutex_;  // keeps the shown mode and the mode in force the same
  std::atomic<optical_control_mode> mode_{optical_control_mode::unknown};
  std::shared_ptr<nx::api::pushed_value<float>> target_output_power_value_;
  std::shared_ptr<nx::api::pushed_value<std::string>> mode_value_;
};

}  // namespace products::selka::channel
