// The manager of orvakinet.
#pragma once

#include "products/orva/orvakin/manager.h"

namespace products::orva::orvakin::orvakinet {

template <class RX_T, class TX_T>
class manager : public orvakin::manager<RX_T, TX_T> {
 public:
  manager() : orvakin::manager<RX_T, TX_T>(models::get("orvakinet")) {}

  void create_leds() override;
};

}  // namespace products::orva::orvakin::orvakinet
