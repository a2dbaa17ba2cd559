#include "platform/kvs_client/endpoint.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "platform/kvs_client/kvs_client.h"

namespace kvs {

namespace {

constexpr std::string_view unix_scheme = "unix://";
constexpr std::string_view tcp_scheme = "tcp://";

bool read_port(std::string_view text, int& port) {
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, port);
  return failure == std::errc() && stop == end && port > 0 && port <= 65535;
}

/// Where the host ends: behind the bracket of an IPv6 address, or at the colon.
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
  result = {endpoint::kind::tcp, std::string(host), default_port};
  if (tail.empty()) return true;
  return tail.front() == ':' && read_port(tail.substr(1), result.port);
}

}  // namespace

endpoint parse_endpoint(const std::string& url) {
  const std::string_view text = url;
  if (text == "memory:") return {endpoint::kind::memory, {}, 0};
  if (text.starts_with(unix_scheme) && text.substr(unix_scheme.size()).starts_with('/')) {
    return {endpoint::kind::unix_socket, std::string(text.substr(unix_scheme.size())), 0};
  }
  endpoint result;
  if (text.starts_with(tcp_scheme) && read_tcp(text.substr(tcp_scheme.size()), result)) {
    return result;
  }
  throw kvs_client_exception(fmt::format(
      "KVS_URL '{}' is not understood: accepted are unix:///PATH, tcp://HOST:PORT and memory:",
      url));
}

std::string url_from_environment() {
  const char* url = std::getenv("KVS_URL");
  return url != nullptr ? url : fmt::format("tcp://127.0.0.1:{}", default_port);
}

}  // namespace kvs
