// Words of the command line as JSON values. A person types `set config/automationMode bright` and
// `run command/channel/add center=19600000 width=5000 port=1`; the tree wants JSON of the right
// type.
#pragma once

#include <string>
#include <vector>

namespace tools::ctl {

/// JSON text of one word for a node of the given "valueType" ("bool", "float", "int",
/// "unsigned int", "string", "json"; anything else takes JSON, or a string when it is none).
/// Throws usage_error with what is accepted.
std::string typed_value(const std::string& word, const std::string& value_type);

/// JSON text of a command's arguments: nothing gives {}, words of the form key=value an object, a
/// single other word itself as JSON. Throws usage_error.
std::string command_arguments(const std::vector<std::string>& words);

/// The words of a command line with a blank in front of each negative number: -3.5 is then a value
/// and not an option. The functions above take the blank off again.
std::vector<std::string> shielded(std::vector<std::string> words);

}  // namespace tools::ctl
