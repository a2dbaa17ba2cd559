// The LED manager's tables against the LED nexel: reading back and writing what changed.
#include "base/manager/leds.h"

#include <functional>
#include "device/interfaces/led.h"
#include "helpers/logger.h"
#include "platform/nexel_client/nx_client_exception.h"

namespace manager {

namespace {

using device::interfaces::led;

/// The LEDs of one row of ports, and how the device and the log name them.
struct port_row {
  const char* name;
  std::string (led::*get_rx)(unsigned n);
  std::string (led::*get_tx)(unsigned n);
  void (led::*set_rx)(unsigned n, const std::string& colour);
  void (led::*set_tx)(unsigned n, const std::string& colour);
  const char* failure;
  const char* log_channel;
};

constexpr port_row xc_row{"XC",
                          &led::get_xc_rx_led,
                          &led::get_xc_tx_led,
                          &led::set_xc_rx_led,
                          &led::set_xc_tx_led,
                          "Failed to set XC led: ",
                          "update_xc_leds"};
constexpr port_row client_row{"AWG",
                              &led::get_client_rx_led,
                              &led::get_client_tx_led,
                              &led::set_client_rx_led,
                              &led::set_client_tx_led,
                              "Failed to set AWG led: ",
                              "update_awg_leds"};

void read_row(led& device, const port_row& row, std::vector<led_data>& entries) {
  for (unsigned n = 1; n <= entries.size(); ++n) {
    entries[n - 1].rx = (device.*row.get_rx)(n);
    entries[n - 1].tx = (device.*row.get_tx)(n);
  }
}

void write_row(led& device, const port_row& row, std::vector<led_data>& entries, bool force,
               const std::function<bool()>& is_stopping) {
  // A dead panel costs a moment for each write: a walk over it must not hold up the end.
  for (unsigned n = 1; n <= entries.size() && !is_stopping(); ++n) {
    auto& entry = entries[n - 1];
    if (!entry.changed && !force) continue;
    try {
      LUMORA_LOG(2, "Updating {}{} RX led to status {}", row.name, n, entry.rx);
      (device.*row.set_rx)(n, entry.rx);
      LUMORA_LOG(2, "Updating {}{} TX led to status {}", row.name, n, entry.tx);
      (device.*row.set_tx)(n, entry.tx);
      entry.changed = false;
    } catch (const nx_client_exception& error) {
      LUMORA_LOG_DIRECT(3, row.log_channel, row.failure + error.message);
    }
  }
}

}  // namespace

void leds::read_led_statuses() {
  const std::lock_guard lock(mutex_);
  line_led_.rx = led_->get_line_rx_led();
  line_led_.tx = led_->get_line_tx_led();
  read_row(*led_, client_row, client_leds_);
  read_row(*led_, xc_row, xc_leds_);
}

void leds::update_leds(bool force) {
  const std::lock_guard lock(mutex_);
  update_line_leds(force);
  update_xc_leds(force);
  update_awg_leds(force);
}

void leds::update_line_leds(bool force) {
  if (!line_led_.changed && !force) return;
  try {
    LUMORA_LOG(2, "Updating Line RX led to status {}", line_led_.rx);
    led_->set_line_rx_led(line_led_.rx);
    LUMORA_LOG(2, "Updating Line TX led to status {}", line_led_.tx);
    led_->set_line_tx_led(line_led_.tx);
    line_led_.changed = false;
  } catch (const nx_client_exception& error) {
    LUMORA_LOG_DIRECT(3, "update_line_leds", "Failed to set Line led: " + error.message);
  }
}

void leds::update_xc_leds(bool force) {
  write_row(*led_, xc_row, xc_leds_, force, [this] { return is_stopping(); });
}

void leds::update_awg_leds(bool force) {
  write_row(*led_, client_row, client_leds_, force, [this] { return is_stopping(); });
}

}  // namespace manager
