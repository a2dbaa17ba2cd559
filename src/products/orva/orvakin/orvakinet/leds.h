// The LEDs of orvakinet: 40, in groups of eight with one place of the 100 GHz grid left free in
// between.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvakin::orvakinet {

class leds : public orva::leds {
 public:
  void start(bool coldstart) override;
};

}  // namespace products::orva::orvakin::orvakinet
