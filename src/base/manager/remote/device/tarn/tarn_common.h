// Adapters for in-line amplifiers as peers: they have no channels and no client side, but measure
// the spans for this node.
#pragma once

#include "base/manager/remote/device/table_adapter.h"

namespace manager::remote::device::tarn {

class tarn_common : public table_adapter {
 public:
  tarn_common() : table_adapter(family::tarn) {}

  path_group line_paths() override;
  path_group channel_paths(unsigned id) override;
};

class tarnone : public tarn_common {};
class tarntwo : public tarn_common {};

}  // namespace manager::remote::device::tarn
