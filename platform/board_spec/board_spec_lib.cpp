#include "platform/board_spec/board_spec_lib.h"

#include <cmath>
#include <fstream>
#include <sstream>

#include "platform/wire/socket_path.h"

namespace {

constexpr const char* board_file = "/mnt/board_info/board_spec.conf";
constexpr const char* voa_preset_key = "voa_preset_default";
constexpr float voa_preset_built_in = 5.0f;  // dB

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
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string key;
    float value = 0.0f;
    if (words >> key >> value && key.front() != '#' && std::isfinite(value)) values_[key] = value;
  }
}

float board_spec_lib::get_voa_preset_default() const {
  const auto found = values_.find(voa_preset_key);
  return found == values_.end() ? voa_preset_built_in : found->second;
}
