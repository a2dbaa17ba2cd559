// Board constants: losses of this particular board, measured at the factory, and the few
// corrections that the client loops learn at run time. Nothing is written back. All values in dB,
// except the fixed dispersion module's, in ps/nm.
#pragma once

#include <map>
#include <string>

class calibration {
 public:
  static calibration& instance();

  /// Reads "KEY NUMBER" lines. A line that cannot be read, or a number that no board can have, is
  /// logged with the reason and counts as 0 dB. Called once, from main, before any other thread
  /// exists.
  void read_calibration_values(const std::string& path);

  /// 0.0 for a missing key: no correction.
  float get_value(const std::string& key);

  /// Forgets everything; for tests.
  void reset();

  float line_margin = 0.3f;          ///< subtracted in the line VOA calculations
  float rx_edfa_calibration = 0.0f;  ///< the client RX loop's present calibration
  float tx_edfa_calibration = 0.0f;  ///< the client TX loop's present calibration
  float booster_gain = 0.0f;         ///< the booster's gain as last read

 private:
  calibration() = default;
  void read_line(const std::string& line, unsigned number);

  std::map<std::string, float> values;
};
