// The LEDs of selkaplus: one pair for each of the 34 cross-connect ports and one for the line. A
// channel's LED follows from its port.
#pragma once

#include <cstdint>

#include "base/manager/leds.h"
#include "models/model.h"

namespace products::selka::selkaplus {

class leds : public ::manager::leds {
 public:
  void start(bool coldstart) override;
  void update_led_statuses() override;
  void boot_thread_function() override;

 private:
  std::uint32_t xc_count_ = models::get("selkaplus").panel.cross_connects;
  std::uint32_t line_count_ = 1;
};

}  // namespace products::selka::selkaplus
