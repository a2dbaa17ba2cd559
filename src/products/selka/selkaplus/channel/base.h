// A channel of selkaplus: as on selka, with the board keys of its larger switch.
#pragma once

#include "models/model.h"
#include "products/selka/channel/base.h"

namespace products::selka::selkaplus::channel {

class base : public selka::channel::base {
 protected:
  std::string port_loss_key(const char* add_drop) override {
    return models::port_loss_key(models::get("selkaplus"), add_drop, get_wss_port());
  }
};

}  // namespace products::selka::selkaplus::channel
