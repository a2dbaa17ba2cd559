// From readings to what a user sees: a row for each channel, and the figures of the node above
// them. Pure: values in, rows out.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "models/model.h"
#include "tools/lab/channel_target.h"
#include "tools/lab/light_path.h"
#include "tools/lab/loop_report.h"
#include "tools/lab/panel.h"
#include "tools/common/readings.h"

namespace tools::lab {

/// Powers in dBm at the booster's output, differences and attenuation in dB.
struct channel_row {
  unsigned id = 0;  ///< in the daemon's paths
  double frequency_thz = 0.0;
  channel_state state = channel_state::dark;
  float measured = 0.0F;  ///< the monitor's reading on the amplifier's scale
  float target = 0.0F;
  float error = 0.0F;  ///< measured minus target, 0 in the dark
  float attenuation = 0.0F;
  std::optional<float> truth;  ///< what the plant knows to be there
};

struct amplifier_figures {
  std::optional<double> in_dbm, out_dbm, gain_db, limit_dbm;
};

inline constexpr const char* no_peer = "none";

struct view {
  std::vector<channel_row> channels;  ///< ascending frequency
  amplifier_figures booster, preamp;
  std::optional<double> calibration_db, saturation_db, voa_db, fibre_km, span_loss_db;
  std::optional<double> line_tx_dbm, line_rx_dbm, utilization;
  std::optional<double> lms_error, lms_step_db;  ///< of the line; the step that it would make next
  light_path outgoing, incoming;                 ///< seen from this node
  panel lights;
  std::string automation_mode;
  std::string peer = no_peer;
  loop_report loops;
};

// What stands in front of a path of another tree among the readings.
inline constexpr const char* booster_prefix = "booster:";
inline constexpr const char* preamp_prefix = "preamp:";
inline constexpr const char* voa_prefix = "voa:";
inline constexpr const char* panel_prefix = "panel:";

/// Where the plant tells a channel's true power at the booster's output; `key` is the centre
/// frequency in units of 10 MHz.
std::string truth_path(unsigned node, const std::string& key);

view make_view(const readings& read, const models::model& model, const loop_report& loops,
               unsigned node = 0);

/// How many channels of a view are in each of the states that matter to a summary.
struct tally {
  unsigned lit = 0;
  unsigned on_target = 0;
  float worst_error = 0.0F;  ///< dB, largest magnitude among the lit
};
tally count(const view& seen);

}  // namespace tools::lab
