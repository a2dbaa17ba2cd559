// The most frequent answer to clients, read without building a document: one value, in the form in
// which this project's servers write it. Anything else is left to the parser, with the same result.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/wire/json.h"

namespace nx {

struct plain_result {
  std::uint64_t id = 0;
  std::string_view path;  ///< in the text it was read from
  json_value value;
};

/// {"jsonrpc":"2.0","id":17,"result":{"a/b":-1.5}} and nothing else.
std::optional<plain_result> read_plain_result(std::string_view text);

}  // namespace nx
