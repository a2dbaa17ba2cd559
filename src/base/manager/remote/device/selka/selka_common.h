// Adapters for selka peers: an orva peer's values without those of its amplifier regulation.
#pragma once

#include "base/manager/remote/device/table_adapter.h"

namespace manager::remote::device::selka {

class selka_common : public table_adapter {
 public:
  selka_common() : table_adapter(family::selka) {}

  path_group line_paths() override;
  path_group channel_paths(unsigned id) override;
};

class selkamin : public selka_common {};
class selkaplus : public selka_common {};

}  // namespace manager::remote::device::selka
