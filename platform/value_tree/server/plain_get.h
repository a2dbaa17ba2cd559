// The most frequent request, read without building a document: a `get` of one path in the form in
// which this project's clients write it. Anything else is left to the parser.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace nx {

struct plain_get {
  std::string_view id;    ///< its digits, which point into the text like the path
  std::string_view path;  ///< no pattern
};

/// {"jsonrpc":"2.0","id":17,"method":"get","params":{"path":"a/b"}} and nothing else.
std::optional<plain_get> read_plain_get(std::string_view text);

/// A batch of them, in brackets, with commas and no blanks in between; false for anything else, or
/// if it is longer than a batch may be.
bool read_plain_gets(std::string_view text, std::vector<plain_get>& gets);

}  // namespace nx
