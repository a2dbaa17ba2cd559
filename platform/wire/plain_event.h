// The most frequent message to clients, read without building a document: the event of a number or
// a bool, in the form in which this project's servers write it. Anything else is left to the
// parser, with the same result.
#pragma once

#include <rapidjson/document.h>

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

}  // namespace nx
