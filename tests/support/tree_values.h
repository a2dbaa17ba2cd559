// Values of a tree as read and written by a test: without a session, and with the path in failures.
#pragma once

#include <memory>
#include <string>

#include "platform/wire/json.h"

class nx_db;
class nx_session;

namespace test {

/// Each throws std::runtime_error on a missing path, and the node's own nx_error.
nx::json_document value_of(nx_db& tree, const std::string& path);
double number_of(nx_db& tree, const std::string& path);
std::string text_of(nx_db& tree, const std::string& path);
bool flag_of(nx_db& tree, const std::string& path);
/// `json` is the text of the value.
void write_to(nx_db& tree, const std::string& path, const std::string& json);
/// Runs a command; the JSON text of its answer.
std::string run_at(nx_db& tree, const std::string& path, const std::string& json);
/// Subscribes; the JSON text of the present value, or what the call raises.
std::string subscribe_to(nx_db& tree, const std::string& path,
                         const std::shared_ptr<nx_session>& session);
/// The JSON text of the value, or what the read raises as `failure_of` tells it.
std::string shown_at(nx_db& tree, const std::string& path);

}  // namespace test
