// The LED panel. Colours are "off", "green", "yellow", "orange", "red"; numbers count from 1. A
// refused colour throws nx_error -22. The panel may be slow or away and each call waits for it, so
// only the LED thread calls it, and requests for many LEDs are sent together.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "device/interface.h"

namespace device::interfaces {

struct led_address {
  enum class panel_row { line, xc, client };
  panel_row row;
  unsigned number;
  bool rx;  ///< else tx

  bool operator==(const led_address&) const = default;
};

struct led_write {
  led_address at;
  std::string colour;
};

/// The result for one LED of an exchange: its colour, or the failure that a single call would have
/// thrown.
struct led_answer {
  std::string colour;
  std::exception_ptr failure;
};

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
  /// "end" for a number after the panel's last client LED.
  virtual std::string get_client_rx_led_or_end(unsigned n) = 0;
  virtual std::string get_client_tx_led(unsigned n) = 0;
  virtual void set_client_rx_led(unsigned n, const std::string& colour) = 0;
  virtual void set_client_tx_led(unsigned n, const std::string& colour) = 0;

  /// All in one message, in order, with one wait. These never throw; answers are in the order of
  /// the LEDs.
  virtual std::vector<led_answer> read_together(const std::vector<led_address>& leds) = 0;
  virtual std::vector<led_answer> write_together(const std::vector<led_write>& writes) = 0;
};

}  // namespace device::interfaces
