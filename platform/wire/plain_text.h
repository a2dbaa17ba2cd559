// Pieces of a message in the form in which this project writes it, read without building a
// document. A reader that finds anything else leaves the message to the parser, with the same
// outcome.
#pragma once

#include <string_view>

namespace nx {

/// Takes `expected` off the front of the text; false when something else stands there.
inline bool skip_text(std::string_view& text, std::string_view expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(expected.size());
  return true;
}

/// Printable ASCII that stands between quotes in JSON as it is.
bool is_plain(std::string_view text);

/// Takes a string off the front, from behind its opening quote to its closing one. False unless it
/// is plain.
bool take_plain_string(std::string_view& text, std::string_view& content);

}  // namespace nx
