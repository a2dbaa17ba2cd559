// Where a nexel listens: a unix socket, or a port on an IPv6 address.
#pragma once

#include <boost/asio/generic/stream_protocol.hpp>
#include <string>

namespace nx {

class nexel_address {
 public:
  using endpoint = boost::asio::generic::stream_protocol::endpoint;
  using socket = boost::asio::generic::stream_protocol::socket;

  static nexel_address unix_socket(const std::string& path);
  /// `interface` scopes a link-local host; any other host needs none.
  static nexel_address ipv6(const std::string& host, const std::string& interface, unsigned port);

  /// As in error texts: the path, or "[host%interface]:port".
  const std::string& text() const { return text_; }

  /// Looked up at each attempt, since an interface may come and go. Throws
  /// boost::system::system_error.
  endpoint resolve() const;

  /// Options for a socket that has just connected.
  void prepare(socket& connected) const;

 private:
  std::string text_;
  std::string host_;  // empty for a unix socket, whose path is the text
  std::string interface_;
  unsigned short port_ = 0;
};

}  // namespace nx
