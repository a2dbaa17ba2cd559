// The LED panel behind its nexel.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/client.h"
#include "device/hardware/refusals.h"
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

 private:
  void write(const std::string& path, const std::string& colour, const std::string& failure);

  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
