// Stands for no peer, or for a product that this node does not know: zero and "n/a" for everything,
// never a failure.
#pragma once

#include "base/manager/remote/device/table_adapter.h"

namespace manager::remote::device {

class unknown : public table_adapter {
 public:
  unknown() : table_adapter(family::unknown) {}

  path_group line_paths() override;
  path_group channel_paths(unsigned id) override;
};

}  // namespace manager::remote::device
