// Board constants: losses of this particular board, measured at the factory and read once from the
// board's file, and the few corrections that the client loops learn at run time. Nothing is written
// back.
//
// Read by main before any other thread exists, and the same from then on; what is learned is the
// manager thread's. Throws nothing.
#pragma once

#include <map>
#include <optional>
#include <string>

/// One constant of the board.
class board_number {
 public:
  board_number(std::string key, std::optional<float> value) : key_(std::move(key)), value_(value) {}

  /// 0.0 when the board has none: no correction. Each such read is told at level 0.
  float operator()() const;

 private:
  std::string key_;
  std::optional<float> value_;
};

/// Those that every board has, in dB but for the last: signed as they are added on the way of the
/// light, so that a loss is negative, unless told otherwise.
struct board_numbers {
  board_number boostertx_to_linetx_db;
  board_number linerx_to_preamprx_db;
  board_number osctx_to_linetx_db;
  board_number linerx_to_oscrx_db;
  board_number clientrx_to_mon_db;
  board_number mon_to_clienttx_db;
  board_number mon_to_boostertx_db;  ///< what a client loop starts its EDFA calibration from
  board_number mon_to_preamptx_db;   ///< the same of the other
  board_number fixed_module_ps_nm;   ///< dispersion of the module that the optical switch takes in
};

class calibration {
 public:
  /// The board's file, below NX_ROOT if that is set.
  static constexpr const char* file = "/mnt/board_info/calibration_data/lumora/lumora.conf";

  static calibration& instance();

  /// Reads "KEY NUMBER" lines; what cannot be read is logged and counts as 0 dB, and so does a
  /// number that no board has, with its line and the reason.
  void read_calibration_values(const std::string& path);

  const board_numbers& board() const { return board_; }

  /// A number of one channel or port, in dB, for its owner to keep.
  board_number find(const std::string& key) const;

  /// The number of any key.
  float get_value(const std::string& key) const { return find(key)(); }

  /// Forgets everything; for tests.
  void reset();

  float line_margin = 0.3f;          ///< dB, subtracted in the line VOA calculations
  float rx_edfa_calibration = 0.0f;  ///< dB, the client RX loop's present calibration
  float tx_edfa_calibration = 0.0f;  ///< dB, the client TX loop's present calibration
  float booster_gain = 0.0f;         ///< dB, the booster's gain as last read

 private:
  calibration();
  void read_line(const std::string& line, unsigned number);
  board_numbers resolve() const;

  std::map<std::string, float> values;
  board_numbers board_;
};
