#include "sim/nexels/peer_values.h"

#include <algorithm>

#include "sim/optics/decibel.h"

namespace sim {

namespace {

double sum_dbm(double one_dbm, double other_dbm) {
  return dbm_of_mw(mw_of_dbm(one_dbm) + mw_of_dbm(other_dbm));
}

double line_rx_dbm(const node& of) {
  return of.preamp.input().reading_dbm() + of.settings.line_input_filter_db;
}

double line_tx_dbm(const node& of) {
  const double voa_db =
      of.settings.has_voa ? of.voa.shown_attenuation_db() + of.settings.voa.insertion_loss_db : 0.0;
  return of.booster.output().reading_dbm() - of.settings.line_output_filter_db - voa_db;
}

double osc_rx_dbm(const node& of) {
  return of.osc.input().reading_dbm() + of.settings.line_input_filter_db;
}

double osc_tx_dbm(const node& of) {
  return of.osc.output().reading_dbm() - of.settings.line_output_filter_db;
}

double total_rx_dbm(const node& of) {
  return sum_dbm(line_rx_dbm(of), osc_rx_dbm(of));
}

double total_tx_dbm(const node& of) {
  return sum_dbm(line_tx_dbm(of), osc_tx_dbm(of));
}

double osc_loss_db(const peer_view& at) {
  return std::max(osc_tx_dbm(at.here) - osc_rx_dbm(at.neighbour), 0.0);
}

double osc_loss_db_per_km(const peer_view& at) {
  const double length_km = at.here.osc.fibre_km();
  return length_km > 1.0 ? osc_loss_db(at) / length_km : 0.0;
}

/// Share of channels with light from the clients, in percent.
double utilization(const peer_view& at) {
  const auto slots = at.here.slots.size();
  std::size_t lit = 0;
  for (std::size_t i = 0; i < slots; ++i)
    lit += at.here.booster_monitor.detected(i) ? 1 : 0;
  return 100.0 * static_cast<double>(lit) / static_cast<double>(slots);
}

using at = const peer_view&;

/// As set, like a node's own; what it lacks is told as its saturation.
double told_gain_db(at of) {
  return of.here.preamp.set_gain_db();
}

}  // namespace

double preamp_calibration_db(const node& of) {
  const monitor_settings& monitor = of.preamp_monitor.settings();
  return monitor.tap_loss_db - monitor.offset_db + of.preamp.output().offset_db();
}

const std::vector<peer_value>& peer_line_values() {
  // Power that nodes of this kind want for their channels after the preamp.
  constexpr double wanted_dbm = 5.0;
  static const std::vector<peer_value> values{
      {"data/line/1/rx/power", "data/neighbour/edfa/rx/power", false,
       [](at v) { return line_rx_dbm(v.here); }},
      {"data/line/1/tx/power", "data/line/1/tx/power", false,
       [](at v) { return line_tx_dbm(v.here); }},
      {"data/line/1/rx/totalPower", "data/line/1/rx/totalPower", false,
       [](at v) { return total_rx_dbm(v.here); }},
      {"data/line/1/tx/totalPower", "data/line/1/tx/totalPower", false,
       [](at v) { return total_tx_dbm(v.here); }},
      {"interface/line/1/data/osc/rx/power", "data/line/1/rx/osc/power", false,
       [](at v) { return osc_rx_dbm(v.here); }},
      {"interface/line/1/data/osc/tx/power", "data/line/1/tx/osc/power", false,
       [](at v) { return osc_tx_dbm(v.here); }},
      {"interface/line/1/data/osc/loss", "interface/line/1/data/osc/loss", false, osc_loss_db},
      {"interface/line/1/data/osc/attenuation", "interface/line/1/data/osc/attenuation", false,
       osc_loss_db_per_km},
      {"interface/line/1/data/length", "osc/2/data/fiberLength", false,
       [](at v) { return v.here.osc.fibre_km(); }},
      {"interface/line/1/data/dispersion", "osc/2/data/fiberDispersion", false,
       [](at v) { return v.here.osc.dispersion_ps_per_nm(); }},
      {"data/system/utilization", nullptr, false, utilization},
      {"data/preamp/plim", nullptr, false,
       [](at v) { return v.here.preamp.settings().power_limit_dbm; }},
      {"data/preamp/gain", nullptr, false, told_gain_db},
      {"data/preamp/gainDefault", nullptr, false,
       [](at v) { return v.here.preamp.settings().gain_db; }},
      {nullptr, "data/neighbour/edfa/minGain", false,
       [](at v) { return v.here.preamp.settings().min_gain_db; }},
      {"data/line/1/rx/targetPower", nullptr, true, [](at) { return wanted_dbm; }},
      {"data/client/rx/targetPower", nullptr, true,
       [](at v) {
         return v.here.booster.settings().power_limit_dbm -
                db_of_ratio(static_cast<double>(v.here.slots.size()));
       }},
      {"data/client/tx/edfaCalibration", nullptr, true,
       [](at v) { return preamp_calibration_db(v.here); }},
      {"data/client/tx/edfaSaturation", nullptr, true,
       [](at v) { return v.here.preamp.saturation_db(); }},
      {nullptr, "data/spanloss/oms/rx", false,
       [](at v) { return line_tx_dbm(v.neighbour) - line_rx_dbm(v.here); }},
      {nullptr, "data/spanloss/oms/tx", false,
       [](at v) { return line_tx_dbm(v.here) - line_rx_dbm(v.neighbour); }},
      {nullptr, "data/spanloss/ots/rx", false,
       [](at v) { return total_tx_dbm(v.neighbour) - total_rx_dbm(v.here); }},
      {nullptr, "data/spanloss/ots/tx", false,
       [](at v) { return total_tx_dbm(v.here) - total_rx_dbm(v.neighbour); }}};
  return values;
}

}  // namespace sim
