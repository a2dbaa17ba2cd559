#include "products/orva/orvalite/leds.h"

namespace products::orva::orvalite {

namespace {

constexpr unsigned led_count = 32;

unsigned key_of_led(unsigned led) {
  return 19140000 + 15000 * led;
}

}  // namespace

void leds::start(bool coldstart) {
  start_panel(led_count, key_of_led, coldstart);
}

}  // namespace products::orva::orvalite
