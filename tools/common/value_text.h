// Values of a tree as text for people: a number with its unit, a string without quotes, an error
// with its code. Pure functions, used by the command line and the lab.
#pragma once

#include <optional>
#include <string>

#include "platform/wire/json.h"
#include "platform/wire/nx_error.h"

namespace tools {

enum class detail {
  with_unit,  ///< "-1.5 dBm", to three decimals
  bare        ///< "-1.5", at full precision, for scripts
};

std::string value_text(const std::string& path, const nx::json_value& value, detail wanted);

/// A value in error in a pattern's answer, {"error":{"code":..,"message":..}}; empty if the value
/// is not in error.
std::optional<nx_error> error_in(const nx::json_value& value);

/// "-61 Value has not been set"
std::string error_text(const nx_error& error);

/// A text as a JSON string, quotes included.
std::string quoted(const std::string& text);

}  // namespace tools
