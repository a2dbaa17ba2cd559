#include "products/orva/orvamax/leds.h"

namespace products::orva::orvamax {

void leds::start(bool coldstart) {
  start_panel(orvamax_plan, coldstart);
}

}  // namespace products::orva::orvamax
