#include "products/orva/orvamax/leds.h"

namespace products::orva::orvamax {

namespace {

constexpr unsigned led_count = 40;

unsigned key_of_led(unsigned led) {
  return 19210000 + 10000 * led;
}

}  // namespace

void leds::start(bool coldstart) {
  start_panel(led_count, key_of_led, coldstart);
}

}  // namespace products::orva::orvamax
