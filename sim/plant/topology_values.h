// Every number of a topology with its name in the file, its unit and its range: one walk shared by
// the range check and the reader of topology files. A visitor is called with (name, value, low,
// high, unit).
#pragma once

#include <array>

#include "sim/plant/topology.h"

namespace sim {

inline constexpr std::array<const char*, 6> tap_names{
    "boosterInput", "boosterOutput", "preampInput", "preampOutput", "oscInput", "oscOutput"};

template <class Visit>
void visit_values(fibre_settings& s, Visit&& visit) {
  visit("length", s.length_km, 0.1, 150.0, "km");
  visit("loss", s.loss_db_per_km, 0.17, 0.28, "dB/km");
  visit("connectorLoss", s.connector_loss_db, 0.0, 2.0, "dB");
  visit("lossOffset", s.loss_offset_db, -10.0, 27.0, "dB");
  visit("lossDrift", s.loss_drift_db_per_day, -10.0, 10.0, "dB/day");
  visit("dispersion", s.dispersion_ps_per_nm_km, 4.0, 22.0, "ps/nm/km");
}

template <class Visit>
void visit_values(amplifier_settings& s, Visit&& visit) {
  visit("minGain", s.min_gain_db, 15.0, 26.0, "dB");
  visit("maxGain", s.max_gain_db, 15.0, 26.0, "dB");
  visit("gain", s.gain_db, s.min_gain_db, s.max_gain_db, "dB");
  visit("powerLimit", s.power_limit_dbm, 20.0, 23.0, "dBm");
  visit("limitHeadroom", s.limit_headroom_db, 0.0, 2.0, "dB");
  visit("noiseFigure", s.noise_figure_db, 5.5, 7.0, "dB");
  visit("ripple", s.ripple_db, 0.0, 1.0, "dB");
  visit("tiltPerGainError", s.tilt_db_per_gain_db, 0.0, 1.0, "dB/dB");
  visit("settling", s.settling_s, 0.05, 1.0, "s");
  visit("losThreshold", s.los_threshold_dbm, -45.0, -20.0, "dBm");
}

template <class Visit>
void visit_values(switch_settings& s, Visit&& visit) {
  visit("insertionLoss", s.insertion_loss_db, 3.0, 12.0, "dB");
  visit("maxAttenuation", s.max_attenuation_db, 10.0, 25.0, "dB");
  visit("step", s.step_db, 0.05, 0.5, "dB");
  visit("repeatability", s.repeatability_db, 0.0, 0.2, "dB");
  visit("settling", s.settling_s, 0.05, 2.0, "s");
  visit("block", s.block_db, 30.0, 60.0, "dB");
  visit("crosstalk", s.crosstalk_db, 20.0, 50.0, "dB");
  visit("startAttenuation", s.start_attenuation_db, 0.0, s.max_attenuation_db, "dB");
}

template <class Visit>
void visit_values(monitor_settings& s, Visit&& visit) {
  visit("tapLoss", s.tap_loss_db, 5.0, 25.0, "dB");
  visit("period", s.period_s, 0.2, 5.0, "s");
  visit("noise", s.noise_db, 0.0, 0.5, "dB");
  visit("resolution", s.resolution_db, 0.0, 0.1, "dB");
  visit("offset", s.offset_db, -0.5, 0.5, "dB");
  visit("floor", s.floor_dbm, -60.0, -35.0, "dBm");
  visit("detectLevel", s.detect_level_dbm, -50.0, -10.0, "dBm");
}

template <class Visit>
void visit_values(tap_settings& s, Visit&& visit) {
  visit("offset", s.offset_db, -0.2, 0.2, "dB");
  visit("drift", s.drift_db_per_day, -1.0, 1.0, "dB/day");
}

template <class Visit>
void visit_values(voa_settings& s, Visit&& visit) {
  visit("maxAttenuation", s.max_attenuation_db, 10.0, 25.0, "dB");
  visit("step", s.step_db, 0.05, 0.5, "dB");
  visit("insertionLoss", s.insertion_loss_db, 0.5, 3.0, "dB");
  visit("settling", s.settling_s, 0.05, 1.0, "s");
  visit("startAttenuation", s.start_attenuation_db, 0.0, s.max_attenuation_db, "dB");
}

template <class Visit>
void visit_values(osc_settings& s, Visit&& visit) {
  visit("txPower", s.tx_power_dbm, -5.0, 8.0, "dBm");
  visit("sensitivity", s.sensitivity_dbm, -40.0, -20.0, "dBm");
  visit("extraLoss", s.extra_loss_db_per_km, 0.0, 0.05, "dB/km");
  visit("neighbourTime", s.neighbour_s, 0.0, 60.0, "s");
}

template <class Visit>
void visit_values(compensator_settings& s, Visit&& visit) {
  visit("range", s.range_ps_per_nm, 100.0, 2000.0, "ps/nm");
}

/// The node's own numbers, without its devices.
template <class Visit>
void visit_values(node_settings& s, Visit&& visit) {
  visit("lineOutputFilter", s.line_output_filter_db, 0.0, 3.0, "dB");
  visit("lineInputFilter", s.line_input_filter_db, 0.0, 3.0, "dB");
  visit("tapNoise", s.tap_noise_db, 0.0, 0.2, "dB");
  visit("tapResolution", s.tap_resolution_db, 0.0, 0.1, "dB");
  visit("laserPower", s.laser_power_dbm, -15.0, 6.0, "dBm");
  visit("laserRamp", s.laser_ramp_s, 0.0, 10.0, "s");
}

/// Calls visit(name, part) for each device of a node.
template <class Visit>
void visit_devices(node_settings& s, Visit&& visit) {
  visit("booster", s.booster);
  visit("preamp", s.preamp);
  visit("addSwitch", s.add_switch);
  visit("dropSwitch", s.drop_switch);
  visit("boosterMonitor", s.booster_monitor);
  visit("preampMonitor", s.preamp_monitor);
  visit("voa", s.voa);
  visit("osc", s.osc);
  visit("compensator", s.compensator);
}

}  // namespace sim
