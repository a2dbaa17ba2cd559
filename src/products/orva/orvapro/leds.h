// The LEDs of orvapro.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvapro {

class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvapro")) {}
};

}  // namespace products::orva::orvapro
