// The only connection of this node to the peer's value tree, over the IPv6 link that the
// supervisory channel carries: finds the peer's link-local address, opens the connection and
// records whether it is up. A lost connection is never reused: the next `connect` builds a new one
// from a fresh address, as it does if the neighbour changes while the connection is being made.
//
// Threads: everything except the two events on the manager thread; those on the client library's
// serial executor, which may wait for the mutex. Nothing here waits for the network.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/threads/ranked_mutex.h"

class nexel_client_api;
class nexel_ipv6_client;
class nx_db;

namespace device::interfaces {
class osc;
}

namespace manager::remote {

class client : public std::enable_shared_from_this<client> {
 public:
  /// Each connection of a client has a number.
  using connection_number = std::uint64_t;
  static constexpr connection_number no_connection = 0;

  /// Opens the connection if there is none, or if it has been in the making for a second and the
  /// neighbour has changed; it is up later. Failures are logged; an address without an interface is
  /// the normal state of a node without a peer.
  void connect(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc);
  void disconnect();

  /// The number of the connection that is up. Any thread.
  connection_number up() const { return up_; }

  /// The connection with that number, for requests and subscriptions; null if it is no longer up.
  std::shared_ptr<nexel_client_api> open_client(connection_number number);

 private:
  class events_of;

  void open(nx_db& db, const std::string& address);
  bool is_in_the_making();
  std::shared_ptr<nexel_ipv6_client> release();
  void established(connection_number number, const std::string& name);
  void lost(connection_number number, const std::string& name);

  nx::ranked_mutex mutex_{nx::lock_rank::peer_client};  // guards all below
  std::shared_ptr<nexel_ipv6_client> client_;
  std::shared_ptr<events_of> events_;
  std::string address_;
  std::chrono::steady_clock::time_point next_look_;
  connection_number number_ = no_connection;  // of the newest connection
  std::atomic<connection_number> up_{no_connection};
};

}  // namespace manager::remote
