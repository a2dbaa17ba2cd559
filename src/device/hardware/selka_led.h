// Proxy of the LED panel. A call that is in progress when the process stops is abandoned: a hung
// panel must not delay the exit.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "device/hardware/proxy.h"
#include "device/interfaces/led.h"

namespace device::hardware {

class selka_led : public without_subscriptions<device::interfaces::led> {
 public:
  selka_led(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  bool is_operational() override;

  std::string get_xc_rx_led(unsigned n) override;
  std::string get_xc_tx_led(unsigned n) override;
  void set_xc_rx_led(unsigned n, const std::string& colour) override;
  void set_xc_tx_led(unsigned n, const std::string& colour) override;
  std::string get_line_rx_led() override;
  std::string get_line_tx_led() override;
  void set_line_tx_led(const std::string& colour) override;
  void set_line_rx_led(const std::string& colour) override;
  std::string get_client_rx_led(unsigned n) override;
  std::string get_client_rx_led_or_end(unsigned n) override;
  std::string get_client_tx_led(unsigned n) override;
  void set_client_rx_led(unsigned n, const std::string& colour) override;
  void set_client_tx_led(unsigned n, const std::string& colour) override;
  std::vector<device::interfaces::led_answer> read_together(
      const std::vector<device::interfaces::led_address>& leds) override;
  std::vector<device::interfaces::led_answer> write_together(
      const std::vector<device::interfaces::led_write>& writes) override;

 private:
  std::string read(const device::interfaces::led_address& at);
  void write(const device::interfaces::led_address& at, const std::string& colour);
  template <class Object>
  auto ask(std::shared_ptr<Object> object);

  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
