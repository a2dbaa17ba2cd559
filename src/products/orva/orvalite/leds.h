// The LEDs of orvalite: 32, on a grid of 150 GHz.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvalite {

class leds : public orva::leds {
 public:
  void start(bool coldstart) override;
};

}  // namespace products::orva::orvalite
