// Writing JSON straight into a string: for answers and events, which are put together from pieces
// instead of being built as documents first.
#pragma once

#include <string>
#include <string_view>

#include "platform/wire/json.h"

namespace nx {

/// Appends what json_text returns. Throws nx_error -22 for a number that is not finite.
void append_json_text(std::string& out, const json_value& value);

/// Appends a number as json_text does. Throws nx_error -22 for one that is not finite.
void append_json_number(std::string& out, float number);
void append_json_number(std::string& out, int number);
void append_json_number(std::string& out, unsigned int number);

/// Appends the text as a JSON string, in quotes and escaped.
void append_json_string(std::string& out, std::string_view text);

}  // namespace nx
