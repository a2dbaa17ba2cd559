// What a plant is built from: one or two nodes, the fibre pair, the instruments' inaccuracies, the
// seed. Plain data; every value has a default and a range, and `check` names the value that is
// outside its range. Read from JSON by topology_json.h.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "models/model.h"

namespace sim {

/// The text names the value, what was found and what is accepted.
class topology_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct fibre_settings {
  double length_km = 80.0;
  double loss_db_per_km = 0.20;    ///< at 1550 nm
  double connector_loss_db = 0.5;  ///< at each end
  double loss_offset_db = 0.0;     ///< a bend, a splice
  double loss_drift_db_per_day = 0.0;
  double dispersion_ps_per_nm_km = 16.7;
  bool raman = true;

  double span_loss_db() const {
    return length_km * loss_db_per_km + 2.0 * connector_loss_db + loss_offset_db;
  }
};

struct amplifier_settings {
  double gain_db = 17.5;  ///< initially, and as "data/gainDefault"
  double min_gain_db = 15.0;
  double max_gain_db = 26.0;
  double power_limit_dbm = 20.0;   ///< as the amplifier reports it
  double limit_headroom_db = 0.5;  ///< how far the true limit is above the reported one
  double noise_figure_db = 5.5;
  double ripple_db = 0.2;            ///< amplitude
  double tilt_db_per_gain_db = 0.3;  ///< over the band, per dB of missing gain
  double settling_s = 0.1;
  double los_threshold_dbm = -36.0;
  bool enabled = true;
};

struct switch_settings {
  double insertion_loss_db = 7.0;
  double max_attenuation_db = 15.0;
  double step_db = 0.1;
  double repeatability_db = 0.05;
  double settling_s = 0.2;
  double block_db = 40.0;
  double crosstalk_db = 30.0;
  double start_attenuation_db = 15.0;
};

struct monitor_settings {
  double tap_loss_db = 13.0;
  double period_s = 1.0;
  double noise_db = 0.05;
  double resolution_db = 0.01;
  double offset_db = 0.0;
  double floor_dbm = -45.0;
  double detect_level_dbm = -30.0;
};

struct tap_settings {
  double offset_db = 0.0;
  double drift_db_per_day = 0.0;
};

struct voa_settings {
  double max_attenuation_db = 25.0;
  double step_db = 0.1;
  double insertion_loss_db = 1.0;
  double settling_s = 0.1;
  double start_attenuation_db = 5.0;
};

struct compensator_settings {
  std::string part_number = "TDCM-0700";
  double range_ps_per_nm = 700.0;  ///< either way
};

struct osc_settings {
  double tx_power_dbm = 0.0;
  double sensitivity_dbm = -28.0;
  double extra_loss_db_per_km = 0.015;  ///< at 1510 nm relative to 1550 nm
  double neighbour_s = 3.0;
  std::string neighbour;  ///< this node's "data/neighbour" while the link is up
};

struct node_settings {
  std::string product = models::default_name;
  std::string part_number;  ///< as the node reports it; empty: the product's
  amplifier_settings booster;
  amplifier_settings preamp;
  switch_settings add_switch;
  switch_settings drop_switch;
  monitor_settings booster_monitor;
  monitor_settings preamp_monitor;
  /// The drop switch is between the preamp's stages, so the monitor sees its effect.
  bool drop_switch_mid_stage = false;
  bool has_voa = true;
  voa_settings voa;
  osc_settings osc;
  compensator_settings compensator;    ///< if the model has one
  double line_output_filter_db = 0.8;  ///< combines channels and supervisory channel
  double line_input_filter_db = 0.8;
  double tap_noise_db = 0.02;
  double tap_resolution_db = 0.01;
  std::array<tap_settings, 6> taps;  ///< in the order of sim::tap
  double laser_power_dbm = 0.0;
  double laser_ramp_s = 2.0;
  std::optional<std::vector<unsigned>> lit;  ///< lasers that are initially on; empty optional: all
  bool coldstart = false;
};

/// Dispersion of the fixed module next to a compensator.
inline constexpr double fixed_module_ps_per_nm = -660.0;

struct topology {
  std::uint64_t seed = 1;
  std::vector<node_settings> nodes;      ///< one or two
  std::array<fibre_settings, 2> fibres;  ///< 0: from node 0 to node 1, 1: back
  /// Family of the peer that the built-in far end plays on the supervisory link; empty: none.
  std::string peer;
};

/// Throws topology_error with the known products.
const models::model& model_of(const std::string& product);
inline const models::model& model_of(const node_settings& node) {
  return model_of(node.product);
}
node_settings default_node(const std::string& product);
/// `nodes` 1: the node faces the built-in far end.
topology default_topology(const std::string& product, unsigned nodes = 1);

/// Throws topology_error on the first value outside its range.
void check(const topology& what);

}  // namespace sim
