// The one connection of this node to the value tree of the peer, over the IPv6 link that the
// supervisory channel carries: finds the peer's link-local address, opens the connection and
// records whether it is up. A connection that was lost is never used again: the next `connect`
// builds a new one from a fresh address.
//
// Threads: connect and disconnect on the manager thread; the two events on the client library's
// serial executor, which may wait for the mutex. The mutex is held across network reads.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "device/subscriber.h"
#include "platform/nexel_client/nexel_subscriber.h"

class nexel_ipv6_client;
class nx_db;

namespace device::interfaces {
class osc;
}

namespace manager::remote {

class client : public nexel_connection_subscriber, public std::enable_shared_from_this<client> {
 public:
  ~client() override = default;

  void connection_established_event(const std::string& name) override;
  void connection_lost_event(const std::string& name) override;

  /// Opens the connection if there is none; `connected` becomes true later. Failures are logged; an
  /// address without an interface is the normal state of a node without a peer.
  void connect(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc);
  void disconnect();

  /// One string value of the peer. Throws nx_error -5 when there is no connection, or
  /// nx_client_exception.
  std::string get(const std::string& path);

  /// Waits for the first value. T: float, bool, std::string. Throws nx_error -5 when there is no
  /// connection, -22 when no value comes.
  template <class T>
  void subscribe(::device::subscriber& subscriber, const std::string& path);

  std::atomic<bool> connected{false};

 private:
  void open(nx_db& db, ::device::interfaces::osc& osc);
  nexel_ipv6_client& open_client();

  std::shared_ptr<nexel_ipv6_client> client_;
  std::mutex mutex_;
};

}  // namespace manager::remote
