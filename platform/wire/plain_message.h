// The two most frequent messages to clients, read without building a document, in the form in which
// this project's servers write them: the event of a number or a bool, and the answer with one
// value. Anything else is left to the parser, with the same result.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/wire/json.h"

namespace nx {

struct plain_event {
  std::string_view path;  ///< in the text it was read from, as is the time
  std::string_view time;
  json_value value;
};

/// {"jsonrpc":"2.0","method":"event","params":{"path":"a/b","time":"...","value":17}} and nothing
/// else.
std::optional<plain_event> read_plain_event(std::string_view text);

struct plain_result {
  std::uint64_t id = 0;
  std::string_view path;  ///< in the text it was read from
  json_value value;
};

/// {"jsonrpc":"2.0","id":17,"result":{"a/b":-1.5}} and nothing else.
std::optional<plain_result> read_plain_result(std::string_view text);

}  // namespace nx
