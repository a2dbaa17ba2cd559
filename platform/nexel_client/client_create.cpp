#include "platform/nexel_client/client_core.h"
#include "platform/nexel_client/in_process_core.h"
#include "platform/nexel_client/socket_core.h"
#include "platform/value_tree/neighbours.h"
#include "platform/wire/socket_path.h"

namespace nx {

namespace {

template <class Handle>
std::shared_ptr<client_handle<Handle>> create_client(
    std::shared_ptr<boost::asio::io_context> io, const nexel_address& address,
    const std::string& address_in_process, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  std::shared_ptr<client_core> core;
  if (auto network = installed_network()) {
    core = in_process_core::create(std::move(network), address_in_process, std::move(name),
                                   std::move(connection_subscriber));
  } else {
    core = socket_core::create(*io, address, std::move(name), std::move(connection_subscriber));
  }
  return std::make_shared<client_handle<Handle>>(std::move(io), address_in_process,
                                                 std::move(core));
}

}  // namespace

}  // namespace nx

std::shared_ptr<nexel_client_api> nexel_client::create(
    std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  const auto path = nx::rooted_path(socket_path);
  return nx::create_client<nexel_client_api>(std::move(io), nx::nexel_address::unix_socket(path),
                                             path, std::move(name),
                                             std::move(connection_subscriber));
}

std::shared_ptr<nexel_ipv6_client> nexel_ipv6_client::create(
    std::shared_ptr<boost::asio::io_context> io, const std::string& interface,
    const std::string& host, unsigned port, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  const auto address = nx::nexel_address::ipv6(host, interface, port);
  if (io) boost::asio::use_service<nx::neighbours>(*io).enter(host);
  return nx::create_client<nexel_ipv6_client>(std::move(io), address, address.text(),
                                              std::move(name), std::move(connection_subscriber));
}
