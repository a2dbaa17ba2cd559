// A channel of selkaplus: as on selka, with the board keys of its larger switch.
#pragma once

#include "products/selka/channel/base.h"

namespace products::selka::selkaplus::channel {

class base : public selka::channel::base {
 protected:
  std::string port_loss_key(const char* add_drop) override;
};

}  // namespace products::selka::selkaplus::channel
