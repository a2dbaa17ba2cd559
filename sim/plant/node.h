// The light path through one node. Towards the line: lasers, add switch, booster (monitored), line
// attenuator, filter. From the line: filter, preamp (monitored), drop switch, client ports.
#pragma once

#include <array>
#include <vector>

#include "sim/optics/light.h"
#include "sim/plant/amplifier.h"
#include "sim/plant/channel_monitor.h"
#include "sim/plant/laser.h"
#include "sim/plant/line_voa.h"
#include "sim/plant/supervisory_channel.h"
#include "sim/plant/wave_switch.h"

namespace sim {

/// A tunable compensator and the switch that puts a fixed module into the path or takes it out, on
/// nodes that have them.
struct dispersion_module {
  double wanted_ps_per_nm = 0.0;
  double tunable_ps_per_nm = 0.0;  ///< follows at the pace of its heater
  int path = 1;                    ///< 1 with the fixed module, 2 without
  bool stuck = false;              ///< the switch reports where it is, and does not move
};

/// Losses that no instrument is told about, dB.
struct hidden_losses {
  explicit hidden_losses(std::size_t slots) : client_rx(slots, 0.0), client_tx(slots, 0.0) {}

  double at(connector where) const { return connectors[static_cast<std::size_t>(where)]; }

  std::array<double, 6> connectors{};  ///< the fibre keeps those of its ends
  std::vector<double> client_rx;       ///< for each slot
  std::vector<double> client_tx;
};

class node {
 public:
  node(const node_settings& settings, const grid& slots, std::uint64_t seed, unsigned number);
  node(const node&) = delete;
  node& operator=(const node&) = delete;

  /// Sets `line` and `osc_mw` to what enters the fibre.
  void send(light& line, double& osc_mw, double dt_s);
  /// Takes what comes out of the fibre.
  void receive(const light& line, double osc_mw, double dt_s);

  const light& at(measuring_point where) const;

  const node_settings settings;
  const grid& slots;
  std::vector<laser> lasers;
  wave_switch add_switch;
  wave_switch drop_switch;
  amplifier booster;
  amplifier preamp;
  channel_monitor booster_monitor;
  channel_monitor preamp_monitor;
  line_voa voa;
  supervisory_channel osc;
  dispersion_module dispersion;
  hidden_losses dirt;

 private:
  void combine_lasers(double dt_s);
  void drop_to_clients();
  void tune_dispersion(double dt_s);

  light laser_;
  light booster_output_;
  light line_output_;
  light line_input_;
  light preamp_output_;
  light client_output_;
};

}  // namespace sim
