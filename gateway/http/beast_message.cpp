#include "gateway/http/beast_message.h"

#include <fmt/chrono.h>

#include <algorithm>
#include <array>
#include <utility>

#include "gateway/http/lower_case.h"
#include "gateway/http/target.h"

namespace gateway {

namespace {

namespace http = boost::beast::http;

std::string_view text_of(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

/// The page loads everything from its own origin, frames nothing and may not be framed.
constexpr const char* content_policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "font-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

constexpr std::array<std::pair<const char*, const char*>, 6> common_headers{{
    {"Content-Security-Policy", content_policy},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
}};

constexpr std::array<std::string_view, 5> single_headers{"host", "authorization", "origin",
                                                         "content-type", "x-lumora-request"};

method method_of(http::verb verb) {
  switch (verb) {
    case http::verb::get:
      return method::get;
    case http::verb::head:
      return method::head;
    case http::verb::put:
      return method::put;
    case http::verb::post:
      return method::post;
    default:
      return method::other;
  }
}

/// False if a header that may occur once occurs twice.
bool read_headers(const beast_request& message, request& into) {
  for (const auto& field : message) {
    const auto name = lower_case(text_of(field.name_string()));
    const std::string value(text_of(field.value()));
    const auto [entry, is_new] = into.headers.emplace(name, value);
    if (is_new) continue;
    if (std::ranges::find(single_headers, name) != single_headers.end()) return false;
    entry->second += ", " + value;
  }
  return true;
}

}  // namespace

read_request from_beast(const beast_request& message) {
  read_request read;
  auto& asked = read.asked;
  asked.asked = method_of(message.method());
  asked.target = std::string(text_of(message.target()));
  asked.body = message.body();
  auto parsed = parse_target(asked.target);
  if (!parsed) {
    read.refused = refusal(400, "The target of the request is not a path");
    return read;
  }
  asked.path = std::move(parsed->path);
  asked.query = std::move(parsed->query);
  if (!read_headers(message, asked)) read.refused = refusal(400, "A header is repeated");
  if (message.version() >= 11 && asked.header("host").empty()) {
    read.refused = refusal(400, "The request lacks a Host");
  }
  if (!parsed->host.empty() && parsed->host != lower_case(asked.header("host"))) {
    read.refused = refusal(400, "The target of the request names another host than its Host");
  }
  return read;
}

std::optional<answer> wrong_framing(const beast_request& header, bool chunked) {
  constexpr unsigned first_with_codings = 11;
  const auto coding = header.find(http::field::transfer_encoding);
  if (coding == header.end()) return std::nullopt;
  const bool only_chunked = chunked && lower_case(text_of(coding->value())) == "chunked";
  if (only_chunked && header.version() >= first_with_codings) return std::nullopt;
  return refusal(501, "A body needs its length, or chunked as the only coding");
}

bool awaits_go_ahead(const beast_request& header) {
  return header.version() >= 11 &&
         lower_case(text_of(header[http::field::expect])) == "100-continue";
}

std::string http_date(std::chrono::system_clock::time_point time) {
  return fmt::format("{:%a, %d %b %Y %H:%M:%S} GMT",
                     fmt::gmtime(std::chrono::system_clock::to_time_t(time)));
}

beast_response to_beast(answer&& made, unsigned version, bool keep_alive, bool head) {
  beast_response message{http::int_to_status(made.status), version};
  message.set(http::field::content_type, made.type);
  bool may_be_cached = false;
  for (const auto& [name, value] : made.headers) {
    message.set(name, value);
    may_be_cached = may_be_cached || name == "Cache-Control";
  }
  if (!may_be_cached) message.set(http::field::cache_control, "no-store");
  for (const auto& [name, value] : common_headers)
    message.set(name, value);
  message.keep_alive(keep_alive);
  if (!made.stream) message.content_length(made.body.size());
  if (!head) message.body() = std::move(made.body);
  return message;
}

}  // namespace gateway
