#include "platform/kvs_client/endpoint.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "platform/kvs_client/kvs_client.h"

namespace kvs {

namespace {

constexpr std::string_view unix_scheme = "unix://";
constexpr std::string_view tcp_scheme = "tcp://";
constexpr std::string_view query_word = "?password=";

bool read_port(std::string_view text, int& port) {
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, port);
  return failure == std::errc() && stop == end && port > 0 && port <= 65535;
}

/// Where the host ends: after the bracket of an IPv6 address, or at the colon.
std::size_t end_of_host(std::string_view rest) {
  if (rest.empty() || rest.front() != '[') return std::min(rest.find(':'), rest.size());
  const auto bracket = rest.find(']');
  return bracket == std::string_view::npos ? 0 : bracket + 1;
}

bool read_tcp(std::string_view rest, endpoint& result) {
  const auto host_end = end_of_host(rest);
  std::string_view host = rest.substr(0, host_end);
  const auto tail = rest.substr(host_end);
  if (!host.empty() && host.front() == '[') host = host.substr(1, host.size() - 2);
  if (host.empty()) return false;
  result = {endpoint::kind::tcp, std::string(host), default_port, {}};
  if (tail.empty()) return true;
  return tail.front() == ':' && read_port(tail.substr(1), result.port);
}

/// Decodes a text in which "%XX" stands for a character; empty if it is malformed.
std::optional<std::string> decoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      result += text[i];
      continue;
    }
    const auto digits = text.substr(i + 1, 2);
    unsigned char value = 0;
    const auto [stop, failure] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (failure != std::errc() || digits.size() != 2 || stop != digits.data() + 2) return {};
    result += static_cast<char>(value);
    i += 2;
  }
  return result;
}

/// A URL in its parts; absent parts are empty.
struct url_parts {
  std::string_view scheme;    ///< including "://"
  std::string_view login;     ///< "USER:PASSWORD@"
  std::string_view place;     ///< host and port, or path
  std::string_view query;     ///< "?password="
  std::string_view password;  ///< what follows it
};

url_parts split(std::string_view url) {
  url_parts parts;
  const auto take = [&url](std::size_t size) {
    const auto piece = url.substr(0, size);
    url.remove_prefix(piece.size());
    return piece;
  };
  if (const auto end = url.find("://"); end != std::string_view::npos) parts.scheme = take(end + 3);
  // In a path an '@' is an ordinary character.
  const auto path = parts.scheme == unix_scheme ? url.find('/') : std::string_view::npos;
  if (const auto end = url.substr(0, path).rfind('@'); end != std::string_view::npos) {
    parts.login = take(end + 1);
  }
  parts.place = take(url.find(query_word));
  parts.query = take(query_word.size());
  parts.password = url;
  return parts;
}

/// False if there is half a login, or two.
bool read_login(const url_parts& parts, endpoint& result) {
  if (parts.login.empty() && parts.query.empty()) return true;
  const auto colon = parts.login.find(':');
  const bool in_front = colon != std::string_view::npos;
  if (in_front != parts.query.empty() || in_front == parts.login.empty()) return false;
  const auto user = decoded(in_front ? parts.login.substr(0, colon) : std::string_view());
  const auto password = decoded(
      in_front ? parts.login.substr(colon + 1, parts.login.size() - colon - 2) : parts.password);
  if (!user || !password || password->empty()) return false;
  result.login = credentials{*user, *password};
  return true;
}

bool read_place(const url_parts& parts, endpoint& result) {
  if (parts.scheme == tcp_scheme) return read_tcp(parts.place, result);
  if (parts.scheme != unix_scheme || !parts.place.starts_with('/')) return false;
  result = {endpoint::kind::unix_socket, std::string(parts.place), 0, {}};
  return true;
}

}  // namespace

endpoint parse_endpoint(const std::string& url) {
  if (url == "memory:") return {endpoint::kind::memory, {}, 0, {}};
  endpoint result;
  const auto parts = split(url);
  if (read_place(parts, result) && read_login(parts, result)) return result;
  throw kvs_client_exception(fmt::format(
      "KVS_URL '{}' is not understood: accepted are unix:///PATH, tcp://HOST:PORT and memory:, "
      "with [USER]:PASSWORD@ behind the slashes or ?password=PASSWORD at the end",
      without_password(url)));
}

std::string without_password(const std::string& url) {
  const auto parts = split(url);
  std::string shown(parts.scheme);
  if (!parts.login.empty()) {
    const auto colon = parts.login.find(':');
    // Without a colon it is unclear whether it is a user or a password.
    if (colon != std::string_view::npos) shown += parts.login.substr(0, colon);
    shown += ":***@";
  }
  shown.append(parts.place).append(parts.query);
  if (!parts.query.empty()) shown += "***";
  return shown;
}

std::string url_from_environment() {
  const char* url = std::getenv("KVS_URL");
  return url != nullptr ? url : fmt::format("tcp://127.0.0.1:{}", default_port);
}

}  // namespace kvs
