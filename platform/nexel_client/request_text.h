// The params of requests that name a path and nothing else, as text. What a request of the client
// library adds to its path is written by its object (nexel_request.h).
#pragma once

#include <string>

#include "platform/wire/json_text.h"

namespace nx {

/// {"path":PATH}
inline std::string params_text(const std::string& path) {
  std::string text = R"({"path":)";
  append_json_string(text, path);
  text += '}';
  return text;
}

}  // namespace nx
