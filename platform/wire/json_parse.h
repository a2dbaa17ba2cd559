// Parses into a document of the caller's, whose allocator then owns the strings: the server keeps
// one arena for many requests.
#pragma once

#include <string_view>

#include "platform/wire/json.h"

namespace nx {

/// Like parse_json. On an error the document is null.
void parse_json_into(json_document& target, std::string_view text);

}  // namespace nx
