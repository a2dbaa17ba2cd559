#include "device/hardware/selka_led.h"

#include <fmt/format.h>

#include <utility>

#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace device::hardware {

selka_led::selka_led(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("selka_led"), client_(make_client(std::move(io), socket_path)) {}

bool selka_led::is_operational() {
  return client_->get<bool>("data/configStatus");
}

void selka_led::write(const std::string& path, const std::string& colour,
                      const std::string& failure) {
  if (!client_->set<bool>(path, colour)) throw nx_error(-22, failure);
}

std::string selka_led::get_xc_rx_led(unsigned n) {
  return client_->get<std::string>(fmt::format("data/xc/{}/rxLed/status", n));
}

std::string selka_led::get_xc_tx_led(unsigned n) {
  return client_->get<std::string>(fmt::format("data/xc/{}/txLed/status", n));
}

void selka_led::set_xc_rx_led(unsigned n, const std::string& colour) {
  write(fmt::format("command/xc/{}/rxLed/status", n), colour,
        fmt::format("Failed to set xc rx led for xc number {}", n));
}

void selka_led::set_xc_tx_led(unsigned n, const std::string& colour) {
  write(fmt::format("command/xc/{}/txLed/status", n), colour,
        fmt::format("Failed to set xc tx led for xc number {}", n));
}

std::string selka_led::get_line_rx_led() {
  return client_->get<std::string>("data/line/1/rxLed/status");
}

std::string selka_led::get_line_tx_led() {
  return client_->get<std::string>("data/line/1/txLed/status");
}

void selka_led::set_line_tx_led(const std::string& colour) {
  write("command/line/1/txLed/status", colour, "Failed to set line tx led");
}

void selka_led::set_line_rx_led(const std::string& colour) {
  write("command/line/1/rxLed/status", colour, "Failed to set line rx led");
}

std::string selka_led::get_client_rx_led(unsigned n) {
  return client_->get<std::string>(fmt::format("data/client/{}/rxLed/status", n));
}

std::string selka_led::get_client_rx_led_or_end(unsigned n) {
  const std::string end = "end";
  return client_->get_or(fmt::format("data/client/{}/rxLed/status", n), end);
}

std::string selka_led::get_client_tx_led(unsigned n) {
  return client_->get<std::string>(fmt::format("data/client/{}/txLed/status", n));
}

void selka_led::set_client_rx_led(unsigned n, const std::string& colour) {
  write(fmt::format("command/client/{}/rxLed/status", n), colour,
        fmt::format("Failed to set awg rx led for awg number {}", n));
}

void selka_led::set_client_tx_led(unsigned n, const std::string& colour) {
  write(fmt::format("command/client/{}/txLed/status", n), colour,
        fmt::format("Failed to set awg tx led for awg number {}", n));
}

}  // namespace device::hardware
