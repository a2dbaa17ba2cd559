#include "sim/plant/amplifier.h"

#include <cmath>
#include <numbers>

#include "sim/optics/amplifier_gain.h"
#include "sim/optics/decibel.h"
#include "sim/plant/device_range.h"
#include "sim/plant/settling.h"

namespace sim {

namespace {

std::vector<double> ripple_of(const grid& slots, double amplitude_db, double phase) {
  // Two and a half periods over the band: the remainder of the erbium gain after its filter.
  constexpr double periods = 2.5;
  std::vector<double> ripple_db(slots.size());
  for (std::size_t i = 0; i < slots.size(); ++i) {
    ripple_db[i] = amplitude_db *
                   std::sin(2.0 * std::numbers::pi * (periods * band_position(slots, i) + phase));
  }
  return ripple_db;
}

}  // namespace

amplifier::amplifier(const amplifier_settings& settings, const grid& slots, double ripple_phase,
                     power_tap input, power_tap output, noise_source noise)
    : settings_(settings),
      slots_(&slots),
      ripple_db_(ripple_of(slots, settings.ripple_db, ripple_phase)),
      input_(input),
      output_(output),
      noise_(noise),
      enabled_(settings.enabled),
      full_limit_dbm_(settings.power_limit_dbm),
      set_gain_db_(settings.gain_db),
      gain_db_(settings.gain_db),
      seen_gain_db_(settings.gain_db),
      shown_gain_db_(settings.gain_db) {}

void amplifier::set_gain(double gain_db) {
  require_range("gain", gain_db, settings_.min_gain_db, settings_.max_gain_db, "dB");
  set_gain_db_ = gain_db;
  ++writes;
}

void amplifier::drop_limit(double drop_db, double duration_s) {
  settings_.power_limit_dbm = full_limit_dbm_ - drop_db;
  limit_drop_left_s_ = duration_s;
}

void amplifier::recover_limit(double dt_s) {
  if (limit_drop_left_s_ <= 0.0) return;
  limit_drop_left_s_ -= dt_s;
  constexpr double tolerance_s = 1e-9;
  if (limit_drop_left_s_ < tolerance_s) drop_limit(0.0, 0.0);
}

void amplifier::follow_gain(double input_mw, double dt_s) {
  const double limit_dbm = settings_.power_limit_dbm + settings_.limit_headroom_db;
  const double goal_db = held_gain_db(set_gain_db_, dbm_of_mw(input_mw), limit_dbm);
  // When the amplifier is switched on, the pump starts from well below.
  constexpr double dark_start_db = 20.0;
  if (!emitting_) gain_db_ = goal_db - dark_start_db;
  emitting_ = true;
  gain_db_ = approach(gain_db_, goal_db, dt_s, settings_.settling_s);
}

void amplifier::watch_signal(double input_mw) {
  constexpr double hysteresis_db = 1.0;
  const double input_dbm = dbm_of_mw(input_mw);
  if (loss_of_signal_) {
    loss_of_signal_ = input_dbm < settings_.los_threshold_dbm + hysteresis_db;
  } else {
    loss_of_signal_ = input_dbm < settings_.los_threshold_dbm;
  }
}

void amplifier::show_gain(double dt_s) {
  constexpr double refresh_s = 0.1;
  constexpr double tolerance_s = 1e-9;
  // An amplifier that is off has no gain error to report.
  const double goal_db = emitting_ ? gain_db_ : set_gain_db_;
  seen_gain_db_ = approach(seen_gain_db_, goal_db, dt_s, settings_.settling_s);
  since_refresh_s_ += dt_s;
  if (since_refresh_s_ < refresh_s - tolerance_s) return;
  since_refresh_s_ = 0.0;
  constexpr double noise_db = 0.02;
  constexpr double resolution_db = 0.01;
  shown_gain_db_ = rounded_to(seen_gain_db_ + noise_.gaussian(noise_db), resolution_db);
}

void amplifier::step(light& beam, double tapped_mw, double dt_s) {
  recover_limit(dt_s);
  watch_signal(tapped_mw);
  input_.step(tapped_mw, dt_s);
  if (enabled_) {
    follow_gain(beam.total_mw(), dt_s);
    const double tilt_db = settings_.tilt_db_per_gain_db * (gain_db_ - set_gain_db_);
    gain_shape_db(*slots_, ripple_db_, tilt_db, shape_db_);
    amplify(beam, *slots_, gain_db_ - deficit_db_, settings_.noise_figure_db, shape_db_);
  } else {
    emitting_ = false;
    beam.clear();
  }
  output_.step(beam.total_mw(), dt_s);
  show_gain(dt_s);
}

}  // namespace sim
