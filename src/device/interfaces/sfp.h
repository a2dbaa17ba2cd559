// The pluggable transceiver that carries the supervisory channel. Powers dBm.
#pragma once

#include <string>

#include "device/interface.h"

namespace device::interfaces {

class sfp : public device::interface {
 public:
  virtual float get_rx_power() = 0;
  virtual float get_tx_power() = 0;
  /// An absent module counts as loss of signal.
  virtual bool has_los() = 0;
  virtual std::string get_oper_status() = 0;
};

}  // namespace device::interfaces
