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

  /// 0.0, no correction, if the file lacks it; each such read is logged at level 0.
  float operator()() const;

 private:
  std::string key_;
  std::optional<float> value_;
};

/// The constants of every board, in dB except the last. Where one is added along the path of the
/// light, a loss is negative.
struct board_numbers {
  board_number boostertx_to_linetx_db;
  board_number linerx_to_preamprx_db;
  board_number osctx_to_linetx_db;
  board_number linerx_to_oscrx_db;
  board_number clientrx_to_mon_db;
  board_number mon_to_clienttx_db;
  board_number mon_to_boostertx_db;  ///< initial EDFA calibration of client RX
  board_number mon_to_preamptx_db;   ///< and of client TX
  board_number fixed_module_ps_nm;   ///< dispersion of the module behind the optical switch
};

class calibration {
 public:
  /// The board's file, below NX_ROOT if that is set.
  static constexpr const char* file = "/mnt/board_info/calibration_data/lumora/lumora.conf";

  static calibration& instance();

  /// Reads "KEY NUMBER" lines. A line that cannot be read, or a number that no board can have, is
  /// logged with the reason and counts as 0 dB.
  void read_calibration_values(const std::string& path);

  const board_numbers& board() const { return board_; }

  /// The constant of one channel or port, in dB; the channel keeps it.
  board_number find(const std::string& key) const;

  /// Looks up any key, by text.
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
