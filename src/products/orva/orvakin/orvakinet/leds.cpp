#include "products/orva/orvakin/orvakinet/leds.h"

namespace products::orva::orvakin::orvakinet {

namespace {

constexpr unsigned led_count = 40;

unsigned key_of_led(unsigned led) {
  return 19160000 + 10000 * (led + (led >> 3));
}

}  // namespace

void leds::start(bool coldstart) {
  start_panel(led_count, key_of_led, coldstart);
}

}  // namespace products::orva::orvakin::orvakinet
