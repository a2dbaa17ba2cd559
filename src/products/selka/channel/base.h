// A channel of the selka family: its power formulas use what the loops have learned about the
// amplifiers, and a channel towards the line also publishes its power at the line output.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/channel/base.h"

namespace products::selka::channel {

class base : public ::channel::base {
 public:
  void setup_api(nx_db& db) override;
  void update_power() override;

  /// dB; only channels of direction "rx" have a power at the line output, others ignore the call.
  virtual void update_line_tx_power(float voa_attenuation, float voa_insertion_loss);
  /// dBm; only on channels of direction "rx". Never throws: a power that is not finite is logged
  /// and dropped.
  virtual void set_line_tx_power(float power);

 protected:
  /// The board's key for the loss between this channel's switch port and the monitor.
  virtual std::string port_loss_key(const char* add_drop);

 private:
  float port_loss_db(const char* add_drop);

  std::shared_ptr<nx::api::status_value<float>> line_tx_power_;
  std::optional<board_number> port_loss_db_;  // once it was asked for: a channel keeps its port
};

}  // namespace products::selka::channel
