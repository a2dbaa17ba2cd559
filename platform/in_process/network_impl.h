// Internals of the in-process transport: the links by address and the clients that use them.
#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/in_process/network.h"
#include "platform/nexel_client/client_transport.h"
#include "platform/nexel_client/nexel_subscriber.h"

namespace nx {

class in_process_core;

/// Where an address leads. Without a tree the link is dead, whatever its state.
struct in_process_link {
  std::string address;
  std::atomic<nx_db*> db{nullptr};
  std::atomic<link_state> state{link_state::up};
  std::atomic<std::chrono::milliseconds> latency{std::chrono::milliseconds(0)};

  link_state present() const { return db.load() ? state.load() : link_state::dead; }
};

struct in_process_network::impl final : client_transport,
                                        std::enable_shared_from_this<in_process_network::impl> {
  using time_point = std::chrono::steady_clock::time_point;

  std::shared_ptr<client_core> create_core(
      const std::string& address, std::string name,
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber) override;

  std::shared_ptr<in_process_link> link(const std::string& address);
  /// Changes the link, then informs its clients.
  void change(const std::string& address, const std::function<void(in_process_link&)>& change);
  std::vector<std::shared_ptr<in_process_core>> live_clients();
  std::optional<time_point> clock_now();
  void spend(std::chrono::milliseconds time);
  void post(std::function<void()> event);
  void deliver();
  void raise_events();

  std::atomic<bool> delivering{false};

  std::mutex mutex;  // guards the members below; nothing is called while it is held
  std::map<std::string, std::shared_ptr<in_process_link>> links;
  std::vector<std::weak_ptr<in_process_core>> clients;
  std::deque<std::function<void()>> events;
  std::function<void(std::chrono::milliseconds)> wait;
  std::function<time_point()> now;
};

}  // namespace nx
