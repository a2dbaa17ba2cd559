#include "products/orva/orvalite/leds.h"

namespace products::orva::orvalite {

void leds::start(bool coldstart) {
  start_panel(orvalite_plan, coldstart);
}

}  // namespace products::orva::orvalite
