#include "helpers/calibration.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <fstream>

#include "helpers/logger.h"

calibration& calibration::instance() {
  static calibration the_calibration;
  return the_calibration;
}

void calibration::read_calibration_values(const std::string& path) {
  try {
    LUMORA_LOG(2, "Reading calibration file {}", path);
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
      read_line(line);
  } catch (...) {
    LUMORA_LOG(2, "Failed to read a calibration value");
  }
}

void calibration::read_line(const std::string& line) {
  std::array<char, 256> key{};
  int key_end = 0;
  float value = 0.0f;
  const int items = std::sscanf(line.c_str(), "%255s%n %f", key.data(), &key_end, &value);
  // A longer key would be cut, and its rest could pass for the number.
  const bool whole_key =
      items >= 1 &&
      std::isspace(static_cast<unsigned char>(line[static_cast<std::size_t>(key_end)]));
  if (items != 2 || !whole_key) {
    LUMORA_LOG(2, "Failed to read calibration value '{}'", line);
    return;
  }
  values[key.data()] = value;
  LUMORA_LOG(2, "Read calibration value {} = {}", key.data(), value);
}

float calibration::get_value(const std::string& key) {
  const auto found = values.find(key);
  if (found != values.end()) return found->second;
  LUMORA_LOG(0, "Missing calibration value {}", key);
  return 0.0f;
}

void calibration::reset() {
  *this = calibration();
}
