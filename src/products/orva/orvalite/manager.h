// The manager of orvalite.
#pragma once

#include "products/orva/manager.h"

namespace products::orva::orvalite {

template <class RX_T, class TX_T>
class manager : public orva::manager<RX_T, TX_T> {
 public:
  manager() : orva::manager<RX_T, TX_T>(models::get("orvalite")) {}

  void create_leds() override;
};

}  // namespace products::orva::orvalite
