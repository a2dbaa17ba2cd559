// Words of the command line as JSON values. People type `set config/automationMode bright` and `run
// command/channel/add center=19600000 width=5000 port=1`; the tree needs JSON of the right type.
#pragma once

#include <string>
#include <vector>

namespace tools::ctl {

/// JSON text of one word for a node with the given "valueType" ("bool", "float", "int", "unsigned
/// int", "string", "json"; anything else accepts JSON, or a string if it is not JSON). Throws
/// usage_error, saying what is accepted.
std::string typed_value(const std::string& word, const std::string& value_type);

/// JSON text of a command's arguments: {} if there are none, an object for words of the form
/// key=value, otherwise a single word as JSON. Throws usage_error.
std::string command_arguments(const std::vector<std::string>& words);

/// The words of a command line with a blank before each negative number, so that -3.5 is a value
/// and not an option. The functions above remove the blank.
std::vector<std::string> shielded(std::vector<std::string> words);

}  // namespace tools::ctl
