#include "platform/board_spec/board_spec_lib.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/note_log/note_log.h"
#include "platform/wire/socket_path.h"

namespace {

constexpr const char* board_file = "/mnt/board_info/board_spec.conf";
constexpr const char* voa_preset_key = "voa_preset_default";
constexpr float voa_preset_built_in = 5.0f;  // dB
constexpr float voa_range_end = 25.0f;       // dB, range of the line VOA

/// What is wrong with a value; empty if a board can have it.
std::string fault_of(const std::string& key, const std::string& word) {
  char* end = nullptr;
  const float value = std::strtof(word.c_str(), &end);
  if (end == word.c_str()) return "it is no number";
  if (!std::isfinite(value)) return "it is not finite";
  if (key != voa_preset_key || (value >= 0.0f && value <= voa_range_end)) return {};
  return fmt::format("a line VOA has 0 to {} dB", voa_range_end);
}

}  // namespace

board_spec_lib::board_spec_lib() {
  load(nx::rooted_path(board_file));
}

board_spec_lib& board_spec_lib::instance() {
  static board_spec_lib the_board;
  return the_board;
}

void board_spec_lib::load(const std::string& path) {
  values_.clear();
  std::ifstream file(path);
  unsigned number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    std::istringstream words(line);
    std::string key;
    std::string word;
    if (!(words >> key) || key.front() == '#') continue;
    words >> word;
    if (const auto fault = fault_of(key, word); fault.empty()) {
      values_[key] = std::strtof(word.c_str(), nullptr);
    } else {
      note_log::write(note_log::warning, "board_spec",
                      fmt::format("Refused '{}' in line {} of {}: {}", line, number, path, fault));
    }
  }
}

float board_spec_lib::get_voa_preset_default() const {
  const auto found = values_.find(voa_preset_key);
  return found == values_.end() ? voa_preset_built_in : found->second;
}
