// Adapters for orva peers.
#pragma once

#include "base/manager/remote/device/table_adapter.h"

namespace manager::remote::device::orva {

class orva_common : public table_adapter {
 public:
  orva_common() : table_adapter(family::orva) {}

  path_group line_paths() override;
  path_group channel_paths(unsigned id) override;
};

class orvabase : public orva_common {};

/// Adds what the peer's dispersion compensation shows.
class orvapro : public orva_common {
 public:
  path_group line_paths() override;
};

}  // namespace manager::remote::device::orva
