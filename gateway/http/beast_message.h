// Conversion between the HTTP library's messages and the gateway's own. Pure; throws nothing.
#pragma once

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <chrono>
#include <optional>
#include <string>

#include "gateway/http/exchange.h"

namespace gateway {

using beast_request = boost::beast::http::request<boost::beast::http::string_body>;
using beast_response = boost::beast::http::response<boost::beast::http::string_body>;

/// The request, or the answer to an invalid one: a target that is not a path, a duplicate header,
/// no Host or two different ones.
struct read_request {
  request asked;
  std::optional<answer> refused;
};
read_request from_beast(const beast_request& message);

/// The answer to a header that leaves the end of its body unclear, so that the following bytes
/// could be taken for another request: a coding other than chunked, or any coding in a version that
/// has none.
std::optional<answer> wrong_framing(const beast_request& header, bool chunked);

/// The client holds its body back until it is told to continue.
bool awaits_go_ahead(const beast_request& header);

/// "Sat, 31 Jan 2026 12:00:00 GMT"
std::string http_date(std::chrono::system_clock::time_point time);

/// With the headers that every answer has. Without its body for a HEAD.
beast_response to_beast(answer&& made, unsigned version, bool keep_alive, bool head);

}  // namespace gateway
