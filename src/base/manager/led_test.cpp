#include "base/manager/led_test.h"

#include <fmt/format.h>

#include "base/manager/led_exchange.h"
#include "base/manager/leds.h"
#include "device/interfaces/led.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace manager {

namespace {

using namespace std::chrono_literals;

constexpr auto test_duration = 60s;
constexpr const char* client_failure = "Failed to set client leds: ";
constexpr const char* xc_failure = "Failed to set XC leds: ";
constexpr const char* not_up_in_a_sweep = "led selka nx not up yet";

bool is_odd(unsigned number) {
  return number % 2 == 1;
}

}  // namespace

std::chrono::microseconds led_test_delay(unsigned pair_count) {
  constexpr unsigned sweep_us = 1700000;
  return std::chrono::microseconds(sweep_us / (2 * pair_count));
}

led_test::led_test(device::interfaces::led& device, const led_test_plan& plan,
                   std::function<bool()> is_stopping,
                   std::function<bool(std::chrono::nanoseconds)> pause)
    : device_(device),
      plan_(plan),
      is_stopping_(std::move(is_stopping)),
      pause_(std::move(pause)),
      delay_(led_test_delay(plan.pair_count)),
      colour_(leds::led_status_green) {}

bool led_test::run() {
  wait_for_device();
  const auto start = helpers::steady_now();
  LUMORA_LOG(2, "Led test started");
  while (!is_stopping_()) {
    const auto elapsed = helpers::steady_now() - start;
    if (colour_ == leds::led_status_green && elapsed >= test_duration) return true;
    if (plan_.waits_for_device && !device_is_ready()) {
      LUMORA_LOG_DIRECT(7, "boot_thread_function", not_up_in_a_sweep);
      pause_(leds::not_ready_pause);
      continue;
    }
    sweep();
    next_colour();
  }
  return false;
}

void led_test::wait_for_device() {
  while (!is_stopping_() && !device_is_ready()) {
    pause_(leds::not_ready_pause);
    LUMORA_LOG_DIRECT(7, "boot_thread_function", plan_.not_up_yet);
  }
}

// A panel that is away is not ready either.
bool led_test::device_is_ready() {
  try {
    return device_.is_operational();
  } catch (const nx_client_exception&) {
    return false;
  }
}

void led_test::next_colour() {
  if (colour_ == leds::led_status_green) {
    colour_ = leds::led_status_yellow;
  } else if (colour_ == leds::led_status_yellow) {
    colour_ = leds::led_status_off;
  } else {
    colour_ = leds::led_status_green;
  }
}

void led_test::sweep() {
  for (const auto& step : plan_.sweep)
    sweep_step(step);
}

void led_test::sweep_step(const led_test_step& step) {
  switch (step.what) {
    case led_test_step::kind::line:
      return write_line_pair();
    case led_test_step::kind::all_clients:
      return sweep_clients();
    case led_test_step::kind::all_xcs:
      return sweep_xcs();
    case led_test_step::kind::one_xc:
      break;
  }
  try {
    write_xc_pair(step.number);
  } catch (...) {
    pass_over(7, fmt::format("Missing led: XC{}", step.number));
  }
}

void led_test::write_line_pair() {
  try {
    write_pair([this] { device_.set_line_tx_led(colour_); },
               [this] { device_.set_line_rx_led(colour_); });
  } catch (...) {
    pass_over(7, "Missing led: Line Tx/Rx");
  }
}

// Two rows of ports are stacked in pairs: up along one, back along the other.
void led_test::sweep_clients() {
  unsigned number = 1;
  bool up = true;
  while (!is_stopping_()) {
    const bool exists = client_exists(number);
    if (exists) write_client_pair(number);
    if (exists && up) {
      number += is_odd(number) ? 1 : 3;
      continue;
    }
    if (!exists) {
      if (!up) return;
      number += 2;
    }
    if (number < 2) return;
    up = false;
    number -= is_odd(number) ? 3 : 1;
  }
}

void led_test::sweep_xcs() {
  const unsigned half = plan_.xc_count / 2;
  const auto write = [this](unsigned number) {
    guarded_pair(xc_failure, [&] { write_xc_pair(number); });
  };
  for (unsigned number = 1; number <= half && !is_stopping_(); ++number)
    write(number);
  for (unsigned number = plan_.xc_count; number > half && !is_stopping_(); --number)
    write(number);
}

// An LED that answers an error exists, within what the model has. A panel that is away ends the
// walk, which could not end otherwise.
bool led_test::client_exists(unsigned number) {
  try {
    return device_.get_client_rx_led_or_end(number) != "end";
  } catch (const nx_client_exception& error) {
    LUMORA_LOG_DIRECT(3, "boot_thread_function", client_failure + error.message);
    return !is_panel_away(std::current_exception()) && number <= plan_.client_count;
  }
}

void led_test::write_client_pair(unsigned number) {
  guarded_pair(client_failure, [&] {
    write_pair([&] { device_.set_client_tx_led(number, colour_); },
               [&] { device_.set_client_rx_led(number, colour_); });
  });
}

void led_test::guarded_pair(const char* failure, const std::function<void()>& write) {
  try {
    write();
  } catch (const nx_client_exception& error) {
    pass_over(3, failure + error.message);
  } catch (const nx_error& error) {
    if (!plan_.passes_over_refusals) throw;
    pass_over(3, failure + error.message);
  }
}

// A pair that fails at once still takes its time: otherwise a sweep in which every one fails would
// spin.
void led_test::pass_over(int severity, const std::string& failure) {
  LUMORA_LOG_DIRECT(severity, "boot_thread_function", failure);
  pause_(delay_);
}

void led_test::write_xc_pair(unsigned number) {
  write_pair([&] { device_.set_xc_tx_led(number, colour_); },
             [&] { device_.set_xc_rx_led(number, colour_); });
}

void led_test::write_pair(const std::function<void()>& tx, const std::function<void()>& rx) {
  tx();
  pause_(delay_);
  rx();
  pause_(delay_);
}

}  // namespace manager
