// The arithmetic of light, checked against figures known in the field.
#include <gtest/gtest.h>

#include "sim/optics/amplifier_gain.h"
#include "sim/optics/decibel.h"
#include "sim/optics/fibre.h"

namespace {

using namespace sim;

const grid c_band = make_grid(19140000, 10000, 48, 0);  // 4.7 THz between the outermost centres

light flat_light(double each_dbm) {
  light beam(c_band.size());
  for (double& power : beam.signal_mw)
    power = mw_of_dbm(each_dbm);
  return beam;
}

double slot_dbm(const light& beam, std::size_t slot) {
  return dbm_of_mw(beam.signal_mw[slot]);
}

TEST(raman, tilts_as_measured_on_standard_fibre) {
  const double effective_km = effective_length_km(80.0, 0.20);
  EXPECT_NEAR(effective_km, 21.0, 0.3);
  const std::pair<double, double> figures[] = {{17.0, 0.75}, {20.0, 1.5}, {23.0, 3.0}};
  for (const auto& [launched_dbm, tilt_db] : figures) {
    const double slope = raman_slope_db_per_thz(mw_of_dbm(launched_dbm), effective_km);
    EXPECT_NEAR(-slope * 4.75, tilt_db, 0.05) << launched_dbm << " dBm";
  }
}

TEST(raman, moves_power_and_loses_none) {
  light beam = flat_light(1.0);
  for (std::size_t i = 24; i < 48; ++i)
    beam.signal_mw[i] *= 4.0;
  const double before_mw = beam.total_mw();
  apply_slope(beam, c_band, -0.6);
  EXPECT_NEAR(beam.total_mw(), before_mw, before_mw * 1e-12);
  light dark(c_band.size());
  apply_slope(dark, c_band, -0.6);
  EXPECT_EQ(dark.total_mw(), 0.0);
}

TEST(amplifier_gain, holds_the_power_weighted_mean_whatever_its_shape) {
  light beam = flat_light(-20.0);
  beam.signal_mw[5] *= 100.0;  // sits on a peak of the shape and must not lift the mean
  std::vector<double> shape_db(c_band.size(), -0.5);
  shape_db[5] = 1.5;
  const double input_mw = beam.total_mw();
  amplify(beam, c_band, 20.0, 5.5, shape_db);
  double signal_mw = 0.0;
  for (const double power : beam.signal_mw)
    signal_mw += power;
  EXPECT_NEAR(db_of_ratio(signal_mw / input_mw), 20.0, 1e-9);
  EXPECT_NEAR(slot_dbm(beam, 5) - slot_dbm(beam, 6), 22.0, 1e-9);
}

TEST(osnr, of_a_lone_amplifier_is_58_plus_input_less_noise_figure) {
  const std::vector<double> flat(c_band.size(), 0.0);
  light beam = flat_light(-20.0);
  amplify(beam, c_band, 25.0, 5.5, flat);
  EXPECT_NEAR(osnr_db(beam, c_band, 12), 58.0 - 20.0 - 5.5, 1e-9);
  // A second like it, fed with the same power, adds as much noise again.
  attenuate(beam, 25.0);
  amplify(beam, c_band, 25.0, 5.5, flat);
  EXPECT_NEAR(osnr_db(beam, c_band, 12), 58.0 - 20.0 - 5.5 - 3.0103, 1e-3);
}

}  // namespace
