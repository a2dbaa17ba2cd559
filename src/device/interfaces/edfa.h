// An optical amplifier: the booster before the fibre, or the preamplifier after it. Powers in dBm,
// gains in dB.
#pragma once

#include "device/interface.h"

namespace device::interfaces {

class edfa : public device::interface {
 public:
  virtual void enable() = 0;
  virtual void disable() = 0;
  virtual bool is_enabled() = 0;
  virtual float get_rx_power() = 0;
  virtual float get_tx_power() = 0;
  virtual float get_power_limit() = 0;
  /// Adds what `get_power_limit` reads.
  virtual void declare_limit_read(std::vector<read_wish>&) {}
  virtual float get_gain() = 0;
  virtual void set_gain(float gain) = 0;
  virtual float get_min_gain() = 0;
  virtual float get_max_gain() = 0;
  virtual float get_default_gain() = 0;
  /// Adds the gain and what `get_min_gain` and `get_max_gain` read.
  virtual void declare_gain_reads(std::vector<read_wish>&) {}
  /// Requested gain less the gain that the amplifier reaches; at least 0.
  virtual float get_saturation() = 0;
  virtual bool has_los() = 0;
};

}  // namespace device::interfaces
