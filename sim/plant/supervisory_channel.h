// One end of the supervisory channel: its transceiver, and the link that comes up when both ends
// have had light for long enough.
#pragma once

#include <string>

#include "sim/plant/power_tap.h"
#include "sim/plant/topology.h"

namespace sim {

class supervisory_channel {
 public:
  supervisory_channel(const osc_settings& settings, power_tap input, power_tap output);

  double sent_mw() const;
  void receive(double received_mw, double dt_s);
  /// The link needs light at both ends; `fibre_km` and `dispersion` are what it then measures.
  void watch_link(bool far_end_has_light, double fibre_km, double dispersion_ps_per_nm,
                  double dt_s);

  const osc_settings& settings() const { return settings_; }
  bool has_light() const { return has_light_; }
  bool ready() const { return ready_; }
  /// From the last measurement: they survive the loss of the link.
  double fibre_km() const { return fibre_km_; }
  double dispersion_ps_per_nm() const { return dispersion_ps_per_nm_; }
  power_tap& input() { return input_; }
  power_tap& output() { return output_; }
  const power_tap& input() const { return input_; }
  const power_tap& output() const { return output_; }

 private:
  osc_settings settings_;
  power_tap input_;
  power_tap output_;
  bool has_light_ = false;
  bool ready_ = false;
  double lit_s_ = 0.0;
  double fibre_km_ = 0.0;
  double dispersion_ps_per_nm_ = 0.0;
};

}  // namespace sim
