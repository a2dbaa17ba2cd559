// The loop of all channels that enter the node at its client ports and leave on the line: the add
// side of the switch, before the booster, whose power is the reference. Its channels are in closed
// loop.
#pragma once

#include "base/manager/loops/client_loop.h"

namespace manager::loops {

template <class T>
class client_rx : public client_loop<T> {
 public:
  using base = client_loop<T>;
  using typename base::control_ptr;
  using typename base::plan_ptr;

  client_rx(plan_ptr plan, std::shared_ptr<manager::remote::api> remote);

  void run(nx_db& db, bool regulate) override;
  void setup_api(nx_db& db) override;
  void setup_channel_api(nx_db& db, control_ptr control) override;

  /// The amplifier's power limit divided among the channels of the plan; infinite without channels.
  virtual float get_client_target_power();
  virtual float get_remote_target_power();
  float get_remote_channel_tx_power(unsigned id);
  std::string get_remote_rx_status(unsigned id);

 protected:
  void store_calibration(float calibration) override;
  void store_gain() override;

 private:
  std::shared_ptr<client_rx<T>> shared_self();
};

}  // namespace manager::loops
