// The LED thread's access to the panel: reads and writes of many LEDs in one message, awaited once.
// A panel that handles LEDs one after the other, and slowly, cannot answer a whole message within a
// call's time-out; messages then become shorter, down to one LED, until it can.
#pragma once

#include <cstddef>
#include <exception>
#include <vector>

#include "device/interfaces/led.h"

namespace manager {

/// Whether this failure concerns the whole panel, which is away or does not answer, and not a
/// single LED.
bool is_panel_away(const std::exception_ptr& failure);

class led_exchange {
 public:
  using answers = std::vector<device::interfaces::led_answer>;

  /// Answers are in the order of the LEDs. Once the panel has left one unanswered, later messages
  /// are not sent and fail in the same way. These never throw.
  answers read(device::interfaces::led& panel,
               const std::vector<device::interfaces::led_address>& leds);
  answers write(device::interfaces::led& panel,
                const std::vector<device::interfaces::led_write>& writes);

 private:
  template <class Item, class Exchange>
  answers in_messages(const std::vector<Item>& items, const Exchange& exchange);

  std::size_t longest_ = 1000;  // LEDs per message: more than any panel has
};

}  // namespace manager
