// The LED panel. Colours are "off", "green", "yellow", "orange", "red"; numbers count from 1. A
// refused colour throws nx_error -22.
#pragma once

#include <string>

#include "device/interface.h"

namespace device::interfaces {

class led : public device::interface {
 public:
  virtual std::string get_xc_rx_led(unsigned n) = 0;
  virtual std::string get_xc_tx_led(unsigned n) = 0;
  virtual void set_xc_rx_led(unsigned n, const std::string& colour) = 0;
  virtual void set_xc_tx_led(unsigned n, const std::string& colour) = 0;
  virtual std::string get_line_rx_led() = 0;
  virtual std::string get_line_tx_led() = 0;
  virtual void set_line_tx_led(const std::string& colour) = 0;
  virtual void set_line_rx_led(const std::string& colour) = 0;
  virtual std::string get_client_rx_led(unsigned n) = 0;
  /// "end" for a number behind the last client LED of the panel.
  virtual std::string get_client_rx_led_or_end(unsigned n) = 0;
  virtual std::string get_client_tx_led(unsigned n) = 0;
  virtual void set_client_rx_led(unsigned n, const std::string& colour) = 0;
  virtual void set_client_tx_led(unsigned n, const std::string& colour) = 0;
};

}  // namespace device::interfaces
