#include "tools/lab/view_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tools::lab {

namespace {

// An attenuation beyond this is a block, not a regulation.
constexpr float block_db = 50.0F;
// Frequencies count in 10 MHz.
constexpr double units_of_a_thz = 1e5;

float number_or(const readings& read, const std::string& path, double otherwise) {
  return static_cast<float>(read.number(path).value_or(otherwise));
}

bool is_blocked(const readings& read, const std::string& base, float attenuation) {
  return read.text(base + "adminStatus") == "down" ||
         read.text(base + "opticalControlMode") == "off" || attenuation > block_db;
}

target_inputs inputs_of(const readings& read, const std::string& base, const models::model& model) {
  target_inputs in;
  in.width_ghz = number_or(read, base + "width", 0.0);
  in.wavelength_nm = number_or(read, base + "waveLength", 0.0);
  in.wanted_offset = number_or(read, base + "wantedPowerOffset", 0.0);
  in.fibre_km = number_or(read, "data/line/1/rx/length", 0.0);
  in.power_limit = number_or(read, std::string(booster_prefix) + "data/powerLimit", 20.0);
  in.saturation = number_or(read, "data/client/rx/edfaSaturation", 0.0);
  in.saturation_cap = model.saturation_cap;
  return in;
}

channel_row row_of(const readings& read, unsigned id, const models::model& model, unsigned node) {
  const auto base = fmt::format("data/client/{}/rx/", id);
  channel_row row;
  row.id = id;
  // Some models number their channels and tell the frequency beside.
  const auto key = static_cast<unsigned>(read.number(base + "frequency").value_or(id));
  row.frequency_thz = key / units_of_a_thz;
  row.attenuation = number_or(read, base + "attenuation", 0.0);
  row.target = target_power(inputs_of(read, base, model));
  row.measured = number_or(read, base + "ocm/power", 0.0) +
                 number_or(read, "data/client/rx/edfaCalibration", 0.0);
  if (const auto truth = read.number(truth_path(node, std::to_string(key)))) {
    row.truth = static_cast<float>(*truth);
  }
  if (is_blocked(read, base, row.attenuation)) {
    row.state = channel_state::blocked;
  } else if (read.flag(base + "peak") == true) {
    row.error = row.measured - row.target;
    row.state = lit_state(row.error, row.attenuation, model.most_attenuation);
  }
  return row;
}

amplifier_figures amplifier_of(const readings& read, const std::string& prefix) {
  return {read.number(prefix + "data/rxPower"), read.number(prefix + "data/txPower"),
          read.number(prefix + "data/gain"), read.number(prefix + "data/powerLimit")};
}

}  // namespace

std::string truth_path(unsigned node, const std::string& key) {
  return fmt::format("truth/node/{}/rx/channel/{}/boosterPower", node, key);
}

view make_view(const readings& read, const models::model& model, const loop_report& loops,
               unsigned node) {
  view seen;
  for (const auto id : read.numbered("data/client/", "/rx/waveLength")) {
    seen.channels.push_back(row_of(read, id, model, node));
  }
  std::sort(seen.channels.begin(), seen.channels.end(),
            [](const auto& a, const auto& b) { return a.frequency_thz < b.frequency_thz; });
  seen.booster = amplifier_of(read, booster_prefix);
  seen.preamp = amplifier_of(read, preamp_prefix);
  seen.calibration_db = read.number("data/client/rx/edfaCalibration");
  seen.saturation_db = read.number("data/client/rx/edfaSaturation");
  seen.voa_db = read.number(std::string(voa_prefix) + "data/attenuation");
  seen.fibre_km = read.number("data/line/1/rx/length");
  seen.line_tx_dbm = read.number("data/line/1/tx/power");
  seen.line_rx_dbm = read.number("data/line/1/rx/power");
  seen.lms_error = read.number("data/line/lmsError");
  seen.lms_step_db = read.number("data/line/lmsStepSize");
  seen.outgoing = path_of(read, node);
  seen.incoming = path_of(read, 1 - node);
  seen.lights = panel_of(read, panel_prefix);
  seen.utilization = read.number("data/system/utilization");
  seen.automation_mode = read.text("data/automationMode").value_or("managedCLI");
  const auto peer = read.text("data/line/1/remoteProduct");
  if (peer && peer != "n/a") seen.peer = *peer;
  // Without a peer the daemon's figure has nothing at its other end.
  if (seen.peer != no_peer) seen.span_loss_db = read.number("data/spanloss/oms/tx");
  seen.loops = loops;
  return seen;
}

tally count(const view& seen) {
  tally sums;
  for (const auto& row : seen.channels) {
    if (row.state == channel_state::dark || row.state == channel_state::blocked) continue;
    ++sums.lit;
    if (row.state == channel_state::on_target) ++sums.on_target;
    if (std::abs(row.error) > std::abs(sums.worst_error)) sums.worst_error = row.error;
  }
  return sums;
}

}  // namespace tools::lab
