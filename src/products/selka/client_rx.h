// The client RX loop of the selka family: channels are managed by their optical control mode, and
// the operator's single global target output power is realised by a VOA after the switch. The peak
// regulation still works towards each channel's share of the booster's power limit.
#pragma once

#include <mutex>
#include <optional>

#include "base/manager/loops/client_rx.h"
#include "device/interfaces/voa.h"

namespace products::selka {

template <class T>
class client_rx : public ::manager::loops::client_rx<T> {
 public:
  using base = ::manager::loops::client_rx<T>;
  using base::base;
  using typename base::control_ptr;

  void set_voa(std::shared_ptr<device::interfaces::voa> voa);

  float get_edfa_saturation() override;
  void reset_channel_attenuation(control_ptr control) override;
  void manage_channel(nx_db& db, control_ptr control, bool regulate) override;
  void setup_channel_plan(nx_db& db) override;
  void add_channel(nx_db& db, unsigned frequency, unsigned width, unsigned port,
                   std::string version) override;
  void setup_api(nx_db& db) override;

  /// dBm for a channel of 100 GHz; on a server thread, waits for the plan's mutex. Failures of the
  /// devices are thrown after the target has been stored.
  void set_global_target_output_power(float top);
  /// VOA attenuation that gives a channel of this width, in GHz, at its share of the booster's
  /// limit, this power at the line output.
  float calculate_voa_attenuation_from_top(float top, float width);
  /// Limited to the VOA's range; not written if within 0.2 dB of what the VOA shows.
  void set_voa_attenuation(float attenuation);

 private:
  void apply_stored_target();
  void apply_target(float top);

  std::optional<float> global_target_output_power_;  // guarded by the plan's mutex
  std::shared_ptr<device::interfaces::voa> voa_;
};

}  // namespace products::selka
