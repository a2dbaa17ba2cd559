#include "products/selka/leds.h"

#include <fmt/format.h>

#include "base/manager/led_test.h"
#include "helpers/logger.h"

namespace products::selka {

using ::manager::led_test_step;

void leds::start(bool coldstart) {
  LUMORA_LOG(2, "Starting leds module.");
  {
    const std::lock_guard lock(mutex_);
    client_leds_.resize(client_count_);
    xc_leds_.resize(xc_count_);
    // A channel beyond the last LED has a position that lights nothing.
    for (unsigned led = 0; led < model_.grid.channels; ++led)
      led_of_frequency_[model_.grid.center(led)] = led;
    for (unsigned led = 0; led < xc_count_; ++led)
      xc_of_port_[models::port_number(model_, fmt::format("xc{}", led + 1)).value()] = led;
  }
  start_thread(coldstart);
}

std::optional<leds::led_place> leds::place_of(unsigned channel,
                                              const ::manager::channelDB_t& entry) const {
  const auto led = led_of_frequency_.find(channel);
  if (entry.port == client_port_ && led != led_of_frequency_.end()) {
    return led_place{led_row::client, led->second};
  }
  const auto xc = xc_of_port_.find(entry.port);
  if (xc == xc_of_port_.end()) return std::nullopt;
  return led_place{led_row::xc, xc->second};
}

void leds::update_led_statuses() {
  apply_statuses(true,
                 [this](unsigned channel, const auto& entry) { return place_of(channel, entry); });
}

void leds::boot_thread_function() {
  using enum led_test_step::kind;
  run_led_test({.not_up_yet = "led selka nx not up yet",
                .waits_for_device = true,
                .pair_count = client_count_ + xc_count_ + line_count_,
                .xc_count = xc_count_,
                .sweep = {{one_xc, 1}, {one_xc, 2}, {line}, {all_clients}, {one_xc, 3}},
                .client_count = client_count_});
}

}  // namespace products::selka
