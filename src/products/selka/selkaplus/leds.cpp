#include "products/selka/selkaplus/leds.h"

#include "base/manager/led_test.h"
#include "helpers/logger.h"

namespace products::selka::selkaplus {

using ::manager::led_test_step;

void leds::start(bool coldstart) {
  LUMORA_LOG_DIRECT(7, "start", "Starting leds module.");
  {
    const std::lock_guard lock(mutex_);
    xc_leds_.resize(xc_count_);
  }
  start_thread(coldstart);
}

void leds::update_led_statuses() {
  apply_statuses(true, [this](unsigned, const auto& entry) -> std::optional<led_place> {
    if (entry.port == 0 || entry.port > xc_count_) return std::nullopt;
    return led_place{led_row::xc, entry.port - 1};
  });
}

void leds::boot_thread_function() {
  using enum led_test_step::kind;
  run_led_test({.not_up_yet = "led selka nx not up yet",
                .waits_for_device = false,
                .pair_count = xc_count_ + line_count_,
                .xc_count = xc_count_,
                .sweep = {{line}, {all_xcs}}});
}

}  // namespace products::selka::selkaplus
