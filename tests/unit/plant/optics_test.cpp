// The arithmetic of light: one test for each convention, and the figures that the field knows.
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

TEST(convention, vectors_are_in_ascending_frequency_and_keys_are_centres) {
  const grid grouped = make_grid(19160000, 10000, 40, 8);
  EXPECT_EQ(grouped[7].key, 19230000u);
  EXPECT_EQ(grouped[8].key, 19250000u);
  EXPECT_DOUBLE_EQ(grouped[8].centre_thz, 192.5);
  EXPECT_DOUBLE_EQ(grouped[8].width_ghz, 100.0);
  EXPECT_DOUBLE_EQ(band_position(grouped, 0), -0.5);
  EXPECT_DOUBLE_EQ(band_position(grouped, 39), 0.5);
}

TEST(convention, powers_add_in_milliwatts) {
  light beam(2);
  beam.signal_mw = {mw_of_dbm(0.0), 0.0};
  beam.noise_mw = {0.0, mw_of_dbm(0.0)};
  EXPECT_NEAR(dbm_of_mw(beam.total_mw()), 3.0103, 1e-4);
  EXPECT_EQ(dbm_of_mw(0.0), dark_dbm);
  EXPECT_EQ(mw_of_dbm(dark_dbm), 0.0);
}

TEST(convention, positive_tilt_of_an_amplifier_rises_with_frequency) {
  std::vector<double> shape_db;
  gain_shape_db(c_band, std::vector<double>(c_band.size(), 0.0), 2.0, shape_db);
  EXPECT_NEAR(shape_db.back() - shape_db.front(), 2.0, 1e-9);
}

TEST(convention, raman_tilt_is_negative_long_wavelengths_gain) {
  light beam = flat_light(0.0);
  apply_slope(beam, c_band, raman_slope_db_per_thz(100.0, 21.0));
  EXPECT_GT(slot_dbm(beam, 0), 0.3);
  EXPECT_LT(slot_dbm(beam, 47), -0.3);
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

TEST(amplifier_gain, gives_way_at_its_output_limit) {
  EXPECT_DOUBLE_EQ(held_gain_db(18.0, 1.0, 20.0), 18.0);
  EXPECT_DOUBLE_EQ(held_gain_db(18.0, 2.0, 20.0), 18.0);
  EXPECT_DOUBLE_EQ(held_gain_db(18.0, 5.0, 20.0), 15.0);
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

TEST(osnr, does_not_depend_on_the_width_of_the_channel) {
  const grid wide = make_grid(19140000, 15000, 32, 0);
  const std::vector<double> flat(wide.size(), 0.0);
  light beam(wide.size());
  beam.signal_mw[3] = mw_of_dbm(-20.0);
  amplify(beam, wide, 20.0, 5.5, flat);
  EXPECT_NEAR(osnr_db(beam, wide, 3), 32.5, 1e-9);
  EXPECT_EQ(osnr_db(beam, wide, 4), dark_dbm);
}

}  // namespace
