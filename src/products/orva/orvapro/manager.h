// The manager of orvapro: as for the other orva models, plus the dispersion compensator and the
// optical switch of its receive side.
#pragma once

#include "products/orva/manager.h"

namespace products::orva::orvapro {

template <class RX_T, class TX_T>
class manager : public orva::manager<RX_T, TX_T> {
 public:
  using base = orva::manager<RX_T, TX_T>;

  manager() : base(models::get("orvapro")) {}

  void create_client_tx() override;
  void create_line() override;
  /// Throws std::runtime_error if the loop is not of this model.
  void setup_line(nx_db& db) override;
  void create_leds() override;

 protected:
  /// The compensator, opened last; throws std::runtime_error if the loop is not of this model.
  void add_client_tx_devices(nx_db& db) override;
};

}  // namespace products::orva::orvapro
