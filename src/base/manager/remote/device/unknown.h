// Stands for no peer, or for a product that this node does not know: zero and "n/a" for everything,
// never a failure.
#pragma once

#include "base/manager/remote/device/table_adapter.h"

namespace manager::remote::device {

class unknown : public table_adapter {
 public:
  unknown() : table_adapter(family::unknown) {}

  void subscribe(const client_ptr& client, const subscriber_ptr& values) override;
  void subscribe_channel(const client_ptr& client, const subscriber_ptr& values,
                         unsigned id) override;
};

}  // namespace manager::remote::device
