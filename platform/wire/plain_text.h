// Pieces of a message in the form in which this project writes it, read without building a
// document. A reader that finds anything else leaves the message to the parser, with the same
// result.
#pragma once

#include <string_view>

#include "platform/wire/json.h"

namespace nx {

/// Removes `expected` from the front of the text; false if the text begins differently.
inline bool skip_text(std::string_view& text, std::string_view expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(expected.size());
  return true;
}

/// Whether JSON contains the text unchanged between quotes: printable ASCII without escapes.
bool is_plain(std::string_view text);

/// Removes a string from the front, from after its opening quote up to its closing one. False
/// unless it is plain.
bool take_plain_string(std::string_view& text, std::string_view& content);

/// The whole text as a value: a number without an exponent, true or false. False for anything else;
/// `value` is then unchanged.
bool read_plain_value(std::string_view text, json_value& value);

}  // namespace nx
