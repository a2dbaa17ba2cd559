// The value of a message in the form in which this project's servers write most of them: a number
// without an exponent, true or false. Read without a parser, with the parser's result.
#pragma once

#include <rapidjson/document.h>

#include <string_view>

#include "platform/wire/json.h"

namespace nx {

/// False for anything else; `value` is then unchanged.
bool read_plain_value(std::string_view text, json_value& value);

}  // namespace nx
