// The LEDs of orvamax.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvamax {

class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvamax")) {}
};

}  // namespace products::orva::orvamax
