// The LEDs of orvamax: 40, on a grid of 100 GHz.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvamax {

class leds : public orva::leds {
 public:
  void start(bool coldstart) override;
};

}  // namespace products::orva::orvamax
