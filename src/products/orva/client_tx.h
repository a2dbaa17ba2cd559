// The client TX loop of the orva family: also calculates the OSNR of its channels, and keeps the
// monitor's detection level in line with the kind of peer.
#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "base/manager/loops/client_tx.h"
#include "products/orva/asked_once.h"
#include "products/orva/osnr.h"

namespace products::orva {

template <class T>
class client_tx : public ::manager::loops::client_tx<T> {
 public:
  using base = ::manager::loops::client_tx<T>;
  using typename base::control_ptr;
  using typename base::plan_ptr;

  using base::base;

  void run(nx_db& db, bool regulate) override;
  void setup_channel_api(nx_db& db, control_ptr control) override;
  /// For all channels of the plan, with its mutex held. A channel that fails keeps its last value;
  /// the first failure is thrown after all others are done.
  virtual void calculate_channel_osnr();

  std::optional<float> wanted_detection_level();
  void set_channel_detection_level();

 protected:
  /// Bandwidth of a channel's light for the OSNR, GHz.
  virtual float osnr_bandwidth_of(const control_ptr& control);
  /// Forgets what the last pass asked devices.
  virtual void begin_osnr_pass();
  virtual void log_osnr(unsigned id, float power, float neighbor, float osnr);

 private:
  void watch_osnr();
  void update_osnr(const control_ptr& control, const std::vector<monitored_channel>& monitored);
  float local_osnr(const control_ptr& control, const std::vector<monitored_channel>& monitored);
  float remote_osnr(unsigned id);
  std::vector<monitored_channel> monitored_channels();

  asked_once<bool> osc_up_;
  std::chrono::steady_clock::time_point last_osnr_update_;
};

}  // namespace products::orva
