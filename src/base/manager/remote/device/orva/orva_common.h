// Adapters for orva peers.
#pragma once

#include "base/manager/remote/device/table_adapter.h"

namespace manager::remote::device::orva {

class orva_common : public table_adapter {
 public:
  orva_common() : table_adapter(family::orva) {}

  void subscribe(const client_ptr& client, const subscriber_ptr& values) override;
  void subscribe_channel(const client_ptr& client, const subscriber_ptr& values,
                         unsigned id) override;
};

class orvabase : public orva_common {};

/// Adds what the peer's dispersion compensation shows.
class orvapro : public orva_common {
 public:
  void subscribe(const client_ptr& client, const subscriber_ptr& values) override;
};

}  // namespace manager::remote::device::orva
