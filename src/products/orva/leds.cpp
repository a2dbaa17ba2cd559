#include "products/orva/leds.h"

#include "base/manager/led_test.h"
#include "helpers/logger.h"

namespace products::orva {

using ::manager::led_test_step;

void leds::start_panel(const fixed_plan& plan, bool coldstart) {
  start_panel(
      plan.channels, [&plan](unsigned led) { return plan.center(led); }, coldstart);
}

void leds::start_panel(std::uint32_t led_count, const key_rule& key_of_led, bool coldstart) {
  LUMORA_LOG_DIRECT(7, "start", "Starting leds module.");
  {
    const std::lock_guard lock(mutex_);
    client_count_ = led_count;
    client_leds_.resize(led_count);
    for (unsigned led = 0; led < led_count; ++led)
      led_of_frequency_[key_of_led(led)] = led;
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
                .pair_count = client_count_ + line_count_,
                .xc_count = 0,
                .sweep = {{led_test_step::kind::line}, {led_test_step::kind::all_clients}},
                .client_count = client_count_});
}

}  // namespace products::orva
