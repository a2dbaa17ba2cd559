#include "products/orva/leds.h"

#include "base/manager/led_test.h"
#include "helpers/logger.h"

namespace products::orva {

using ::manager::led_test_step;

void leds::start(bool coldstart) {
  LUMORA_LOG_DIRECT(7, "start", "Starting leds module.");
  {
    const std::lock_guard lock(mutex_);
    client_leds_.resize(model_.panel.clients);
    for (unsigned led = 0; led < model_.panel.clients; ++led)
      led_of_frequency_[model_.grid.center(led)] = led;
  }
  start_thread(coldstart);
}

void leds::update_led_statuses() {
  apply_statuses(false, [this](unsigned channel, const auto&) -> std::optional<led_place> {
    const auto found = led_of_frequency_.find(channel);
    if (found == led_of_frequency_.end()) return std::nullopt;
    return led_place{led_row::client, found->second};
  });
}

void leds::boot_thread_function() {
  run_led_test({.not_up_yet = "led orva nx not up yet",
                .waits_for_device = true,
                .pair_count = model_.panel.clients + line_count_,
                .xc_count = 0,
                .sweep = {{led_test_step::kind::line}, {led_test_step::kind::all_clients}},
                .client_count = model_.panel.clients});
}

}  // namespace products::orva
