// Where the key store is: the text of KVS_URL, understood.
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
  int port = 0;         ///< tcp alone
  std::optional<credentials> login = std::nullopt;
};

constexpr int default_port = 6379;

/// "unix:///PATH", "tcp://HOST[:PORT]" (an IPv6 address in brackets) or "memory:". A password
/// stands in front of the host or path, "[USER]:PASSWORD@", or behind all, "?password=PASSWORD";
/// characters that would end it there are written "%XX". Throws kvs_client_exception that names the
/// text, less its password, and what is accepted.
endpoint parse_endpoint(const std::string& url);

/// The text for logs.
std::string without_password(const std::string& url);

/// KVS_URL, or "tcp://127.0.0.1:6379" when it is not set.
std::string url_from_environment();

}  // namespace kvs
