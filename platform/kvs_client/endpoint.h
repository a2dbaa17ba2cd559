// The address of the key store: KVS_URL, parsed.
#pragma once

#include <optional>
#include <string>

namespace kvs {

struct credentials {
  std::string user;  ///< empty: the store's default user
  std::string password;
};

struct endpoint {
  enum class kind { unix_socket, tcp, memory } type = kind::tcp;
  std::string address;  ///< path of the socket, or host
  int port = 0;         ///< only for tcp
  std::optional<credentials> login = std::nullopt;
};

constexpr int default_port = 6379;

/// "unix:///PATH", "tcp://HOST[:PORT]" (an IPv6 address in brackets) or "memory:". A password comes
/// before the host or path, "[USER]:PASSWORD@", or at the end, "?password=PASSWORD"; characters
/// that would end it there are written "%XX". Throws kvs_client_exception with the text, without
/// its password, and what is accepted.
endpoint parse_endpoint(const std::string& url);

/// The text for logs.
std::string without_password(const std::string& url);

/// KVS_URL, or "tcp://127.0.0.1:6379" if it is not set.
std::string url_from_environment();

}  // namespace kvs
