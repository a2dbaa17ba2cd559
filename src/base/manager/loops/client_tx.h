// The loop of all channels that arrive from the line and leave the node at its client ports: the
// drop side of the switch, after the preamp. In this form it regulates nothing: it holds each
// channel at its default attenuation, lit or dark, and reports its light.
#pragma once

#include "base/manager/loops/client_loop.h"

namespace manager::loops {

template <class T>
class client_tx : public client_loop<T> {
 public:
  using base = client_loop<T>;
  using typename base::control_ptr;
  using typename base::plan_ptr;

  client_tx(plan_ptr plan, std::shared_ptr<manager::remote::api> remote);

  void manage_channel_peak(control_ptr control, bool regulate) override;
  void manage_channel(nx_db& db, control_ptr control, bool regulate) override;
  void run(nx_db& db, bool regulate) override;
  void setup_channel_api(nx_db& db, control_ptr control) override;
  bool blocks_channels() const override { return false; }

  float get_remote_channel_rx_power(unsigned id);
  std::string get_remote_channel_tx_status(unsigned id);

 protected:
  void store_calibration(float calibration) override;
  std::shared_ptr<client_tx<T>> shared_self();

 private:
  void work_on_channels(nx_db& db, bool regulate);
};

}  // namespace manager::loops
