// What a daemon finds around it when it runs inside a test: a store in memory that is usable, and
// the board's calibration of the plant.
#pragma once

#include <string>

namespace test {

/// The store of this process, with the keys that other services of a node write, and the tags in
/// the environment.
void prepare_memory_store();

/// As if main had read this text from the board's file.
void load_board_file(const std::string& text);

}  // namespace test
