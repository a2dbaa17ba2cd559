#include <mutex>

#include "platform/io/neighbours.h"
#include "platform/nexel_client/client_core.h"
#include "platform/nexel_client/client_transport.h"
#include "platform/nexel_client/socket_core.h"
#include "platform/wire/socket_path.h"

namespace nx {

namespace {

std::mutex transport_mutex;
std::weak_ptr<client_transport> transport_in_place;

std::shared_ptr<client_transport> installed_transport() {
  const std::lock_guard lock(transport_mutex);
  return transport_in_place.lock();
}

template <class Handle>
std::shared_ptr<client_handle<Handle>> create_client(
    std::shared_ptr<boost::asio::io_context> io, const nexel_address& address,
    const std::string& address_in_process, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  std::shared_ptr<client_core> core;
  if (const auto transport = installed_transport()) {
    core = transport->create_core(address_in_process, std::move(name),
                                  std::move(connection_subscriber));
  } else {
    core = socket_core::create(*io, address, std::move(name), std::move(connection_subscriber));
  }
  return std::make_shared<client_handle<Handle>>(std::move(io), address_in_process,
                                                 std::move(core));
}

}  // namespace

void install_transport(const std::shared_ptr<client_transport>& transport) {
  const std::lock_guard lock(transport_mutex);
  transport_in_place = transport;
}

void remove_transport(const client_transport& transport) {
  const std::lock_guard lock(transport_mutex);
  if (transport_in_place.lock().get() == &transport) transport_in_place.reset();
}

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
