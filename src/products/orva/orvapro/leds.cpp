#include "products/orva/orvapro/leds.h"

namespace products::orva::orvapro {

void leds::start(bool coldstart) {
  start_panel(orvapro_plan, coldstart);
}

}  // namespace products::orva::orvapro
