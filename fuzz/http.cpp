// Any bytes as what a client sends to the gateway: whatever the parser lets through is a request of
// decoded texts without control characters, names no file but one below the page's folder, and is
// let in nowhere but under the rules.
#include <boost/beast/http/parser.hpp>
#include <cstdint>

#include "fuzz/check.h"
#include "gateway/http/beast_message.h"
#include "gateway/http/static_files.h"
#include "gateway/trust/trust.h"

namespace {

namespace http = boost::beast::http;
using fuzz::check;

bool is_text(const std::string& text) {
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20 || code == 0x7f) return false;
  }
  return true;
}

void check_request(const gateway::request& asked) {
  check(asked.path.starts_with('/') && is_text(asked.path), "a path is text", asked.path);
  for (const auto& [name, value] : asked.query)
    check(is_text(name) && is_text(value), "a query is text", asked.target);
  if (gateway::is_safe_name(std::string_view(asked.path).substr(1))) {
    check(asked.path.find("/.") == asked.path.npos, "no name leads out of the folder", asked.path);
  }
}

void check_trust(const gateway::request& asked) {
  static const gateway::trust locked({.loopback = false,
                                      .tls = true,
                                      .hosts = {},
                                      .token = gateway::access_token("0123456789abcdef")});
  const bool shown =
      asked.header("authorization").find("0123456789abcdef") != std::string_view::npos ||
      asked.header("authorization").size() > 20;
  check(asked.path == "/healthz" || shown || locked.check(asked),
        "nobody comes in without the token");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  http::request_parser<http::string_body> parser;
  parser.header_limit(16 * 1024);
  parser.body_limit(64 * 1024);
  parser.eager(true);
  boost::system::error_code error;
  parser.put(boost::asio::const_buffer(data, size), error);
  if (error || !parser.is_done()) return 0;
  const auto framing = gateway::wrong_framing(parser.get(), parser.chunked());
  check(framing || parser.content_length() || parser.chunked() || parser.get().body().empty(),
        "a body has an end");
  const auto read = gateway::from_beast(parser.get());
  if (framing || read.refused) return 0;
  check_request(read.asked);
  check_trust(read.asked);
  return 0;
}
