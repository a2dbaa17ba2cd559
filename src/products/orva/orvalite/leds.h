// The LEDs of orvalite.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvalite {

class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvalite")) {}
};

}  // namespace products::orva::orvalite
