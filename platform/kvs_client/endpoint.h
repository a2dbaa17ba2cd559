// Where the key store is: the text of KVS_URL, understood.
#pragma once

#include <string>

namespace kvs {

struct endpoint {
  enum class kind { unix_socket, tcp, memory } type = kind::tcp;
  std::string address;  ///< path of the socket, or host
  int port = 0;         ///< tcp alone
};

constexpr int default_port = 6379;

/// "unix:///PATH", "tcp://HOST[:PORT]" (an IPv6 address in brackets) or "memory:". Throws
/// kvs_client_exception that names the text and what is accepted.
endpoint parse_endpoint(const std::string& url);

/// KVS_URL, or "tcp://127.0.0.1:6379" when it is not set.
std::string url_from_environment();

}  // namespace kvs
