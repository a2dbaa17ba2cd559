#include "helpers/calibration.h"

#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string_view>

#include "helpers/logger.h"
#include "helpers/small_file.h"
#include "helpers/start_report.h"
#include "platform/wire/nx_error.h"

namespace {

// A board has about 200 entries of 40 bytes.
constexpr std::size_t most_bytes = 256 * 1024;

constexpr const char* subject = "calibration";  // of the start report

/// A constant named "cal_..." is what lies between two instruments of one board: about 20 dB for a
/// monitor's tap, 7 to 10 for a switch, 1 for a filter. With more than this between them, one of
/// the two would see nothing.
constexpr float largest_loss_db = 40.0f;
/// A fixed module compensates the dispersion of a span: 200 km of the most dispersive fibre have
/// 4400.
constexpr float largest_dispersion_ps_nm = 10'000.0f;
constexpr const char* dispersion_key = "cal_dc_fixed_tx";

/// What is wrong with a number; empty if a board can have it. Keys that nobody reads may have any
/// value.
std::string fault_of(std::string_view key, float value) {
  if (std::isnan(value)) return "it is NaN";
  if (std::isinf(value)) return "it is infinite";
  const bool is_dispersion = key == dispersion_key;
  const float largest = is_dispersion ? largest_dispersion_ps_nm : largest_loss_db;
  if (!key.starts_with("cal_") || std::fabs(value) <= largest) return {};
  return fmt::format("no board has more than {} {}", largest, is_dispersion ? "ps/nm" : "dB");
}

}  // namespace

float board_number::operator()() const {
  if (value_) return *value_;
  LUMORA_LOG(0, "Missing calibration value {}", key_);
  return 0.0f;
}

calibration::calibration() : board_(resolve()) {}

calibration& calibration::instance() {
  static calibration the_calibration;
  return the_calibration;
}

void calibration::read_calibration_values(const std::string& path) {
  try {
    LUMORA_LOG(2, "Reading calibration file {}", path);
    std::istringstream text(helpers::read_small_file(path, most_bytes));
    unsigned number = 0;
    for (std::string line; std::getline(text, line);)
      read_line(line, ++number);
  } catch (const nx_error& refused) {
    LUMORA_LOG(2, "Failed to read a calibration value: {}", refused.what());
  } catch (...) {
    LUMORA_LOG(2, "Failed to read a calibration value");
  }
  board_ = resolve();
  if (!values.empty()) return helpers::start_report::instance().clear(subject);
  helpers::start_report::instance().tell(
      subject, fmt::format("No calibration of this board in {}: every loss within the node counts "
                           "as 0 dB, and powers are wrong by that. Put the board's file there and "
                           "start again",
                           path));
}

void calibration::read_line(const std::string& line, unsigned number) {
  std::array<char, 256> key{};
  int key_end = 0;
  float value = 0.0f;
  const int items = std::sscanf(line.c_str(), "%255s%n %f", key.data(), &key_end, &value);
  // A longer key would be truncated, and its rest could be taken for the number.
  const bool whole_key =
      items >= 1 &&
      std::isspace(static_cast<unsigned char>(line[static_cast<std::size_t>(key_end)]));
  if (items != 2 || !whole_key) {
    LUMORA_LOG(2, "Failed to read calibration value '{}'", line);
    return;
  }
  if (const auto fault = fault_of(key.data(), value); !fault.empty()) {
    LUMORA_LOG(2, "Refused calibration value {} = {} in line {}: {}", key.data(), value, number,
               fault);
    return;
  }
  values[key.data()] = value;
  LUMORA_LOG(2, "Read calibration value {} = {}", key.data(), value);
}

board_number calibration::find(const std::string& key) const {
  const auto found = values.find(key);
  return {key, found == values.end() ? std::nullopt : std::optional(found->second)};
}

board_numbers calibration::resolve() const {
  return {.boostertx_to_linetx_db = find("cal_boostertx_to_linetx"),
          .linerx_to_preamprx_db = find("cal_linerx_to_preamprx"),
          .osctx_to_linetx_db = find("cal_osctx_to_linetx"),
          .linerx_to_oscrx_db = find("cal_linerx_to_oscrx"),
          .clientrx_to_mon_db = find("cal_clientrx_to_mon"),
          .mon_to_clienttx_db = find("cal_mon_to_clienttx"),
          .mon_to_boostertx_db = find("cal_mon_to_boostertx"),
          .mon_to_preamptx_db = find("cal_mon_to_preamptx"),
          .fixed_module_ps_nm = find(dispersion_key)};
}

void calibration::reset() {
  *this = calibration();
}
