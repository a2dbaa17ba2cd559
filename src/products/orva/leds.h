// The LEDs of the orva panels: one pair for each channel of the fixed plan, one for the line. Which
// LED belongs to a channel follows from its centre frequency; the port does not matter.
#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>

#include "base/manager/leds.h"
#include "products/orva/fixed_plan.h"

namespace products::orva {

class leds : public ::manager::leds {
 public:
  void update_led_statuses() override;
  void boot_thread_function() override;

 protected:
  /// Centre frequency of the channel of a LED, in 10 MHz; LEDs count from 0.
  using key_rule = std::function<unsigned(unsigned led)>;

  /// What the `start` of every model does.
  void start_panel(std::uint32_t led_count, const key_rule& key_of_led, bool coldstart);
  /// The same where every channel of the plan has a LED.
  void start_panel(const fixed_plan& plan, bool coldstart);

 private:
  std::uint32_t client_count_ = 32;
  std::uint32_t line_count_ = 1;
  std::unordered_map<unsigned, unsigned> led_of_frequency_;
};

}  // namespace products::orva
