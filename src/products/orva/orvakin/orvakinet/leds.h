// The LEDs of orvakinet.
#pragma once

#include "products/orva/leds.h"

namespace products::orva::orvakin::orvakinet {

class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvakinet")) {}
};

}  // namespace products::orva::orvakin::orvakinet
