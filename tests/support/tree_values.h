// Values of a tree as a test reads and writes them: without a session, and with the path in the
// failure.
#pragma once

#include <string>

class nx_db;

namespace test {

/// Each throws std::runtime_error on a missing path, and the node's own nx_error.
float number_of(nx_db& tree, const std::string& path);
std::string text_of(nx_db& tree, const std::string& path);
bool flag_of(nx_db& tree, const std::string& path);
/// `json` is the text of the value.
void write_to(nx_db& tree, const std::string& path, const std::string& json);
void run_at(nx_db& tree, const std::string& path, const std::string& json);

}  // namespace test
