// The board's calibration without the node's file.
#pragma once

#include <string>

#include "helpers/calibration.h"
#include "tests/support/temp_folder.h"

namespace test {

/// As if main had read this text from the board's file.
inline void load_board_file(const std::string& text) {
  const temp_folder folder;
  calibration::instance().reset();
  calibration::instance().read_calibration_values(folder.write("lumora.conf", text));
}

}  // namespace test
