// The manager of orvamax.
#pragma once

#include "products/orva/manager.h"

namespace products::orva::orvamax {

template <class RX_T, class TX_T>
class manager : public orva::manager<RX_T, TX_T> {
 public:
  manager() : orva::manager<RX_T, TX_T>(models::get("orvamax")) {}

  void create_leds() override;
};

}  // namespace products::orva::orvamax
