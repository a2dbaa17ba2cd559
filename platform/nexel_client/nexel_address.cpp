#include "platform/nexel_client/nexel_address.h"

#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <boost/asio/ip/address_v6.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>

namespace nx {

namespace {

void set_option(int socket, int level, int option, int value) {
  setsockopt(socket, level, option, &value, sizeof(value));
}

}  // namespace

nexel_address nexel_address::unix_socket(const std::string& path) {
  nexel_address address;
  address.text_ = path;
  return address;
}

nexel_address nexel_address::ipv6(const std::string& host, const std::string& interface,
                                  unsigned port) {
  nexel_address address;
  address.host_ = host;
  address.interface_ = interface;
  address.port_ = static_cast<unsigned short>(port);
  address.text_ =
      "[" + host + (interface.empty() ? "" : "%" + interface) + "]:" + std::to_string(port);
  return address;
}

nexel_address::endpoint nexel_address::resolve() const {
  namespace asio = boost::asio;
  if (host_.empty()) return asio::local::stream_protocol::endpoint(text_);
  auto address = asio::ip::make_address_v6(host_);
  if (address.is_link_local()) {
    address.scope_id(if_nametoindex(interface_.c_str()));
    if (address.scope_id() == 0) {
      throw boost::system::system_error(ENODEV, boost::system::system_category(), interface_);
    }
  }
  return asio::ip::tcp::endpoint(address, port_);
}

// A supervisory link breaks silently: the far end is then found dead within about ten seconds,
// whether or not data is in flight.
void nexel_address::prepare(socket& connected) const {
  if (host_.empty()) return;
  constexpr int idle_s = 5;
  constexpr int interval_s = 2;
  constexpr int probes = 3;
  constexpr int unacknowledged_ms = 10000;
  const int handle = connected.native_handle();
  set_option(handle, IPPROTO_TCP, TCP_NODELAY, 1);
  set_option(handle, SOL_SOCKET, SO_KEEPALIVE, 1);
  set_option(handle, IPPROTO_TCP, TCP_KEEPIDLE, idle_s);
  set_option(handle, IPPROTO_TCP, TCP_KEEPINTVL, interval_s);
  set_option(handle, IPPROTO_TCP, TCP_KEEPCNT, probes);
  set_option(handle, IPPROTO_TCP, TCP_USER_TIMEOUT, unacknowledged_ms);
}

}  // namespace nx
