// The in-process transport: clients that reach a tree by function call, with no socket and no
// thread, so that a test's control cycle is one function call on one thread. While an object of
// this class exists, every nexel_client::create and nexel_ipv6_client::create in the process
// returns such a client, whether or not the tree is attached yet.
//
// Reads, writes and events run on the calling thread. Connection events wait for `deliver`, since
// their receivers take locks that may be held across `create`.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>

class nx_db;

namespace nx {

enum class link_state {
  up,
  dead,  ///< no server: calls fail with -107
  hung   ///< never answers: calls fail with -110, after 2 s on the test's clock for the first
};

class in_process_network {
 public:
  in_process_network();
  ~in_process_network();
  in_process_network(const in_process_network&) = delete;
  in_process_network& operator=(const in_process_network&) = delete;

  /// Serves `db` at an address: a socket path, or "[host%interface]:port".
  void attach(const std::string& address, nx_db& db);
  void detach(const std::string& address);
  void set_state(const std::string& address, link_state state);
  /// Delays every answer and event of the address by this time, each separately: requests sent
  /// together are answered together. Requests take effect at once. A delay of 2 s or more is a
  /// time-out for a call. A waiting caller spends the time on the test's clock; events need that
  /// clock too, and without it are delivered at the next `deliver`.
  void set_latency(const std::string& address, std::chrono::milliseconds latency);

  /// The addresses of all living clients, whether or not anything is attached there.
  std::set<std::string> addresses_in_use() const;

  /// How a hung call spends its 2 s: the hand-driven clock's sleep.
  void set_wait(std::function<void(std::chrono::milliseconds)> wait);

  /// The hand-driven clock's time. With it, refused subscriptions are retried once a second,
  /// without it at each `deliver`. A hung link costs one wait.
  void set_clock(std::function<std::chrono::steady_clock::time_point()> now);

  /// Only retries refused subscriptions and delivers delayed messages that are due: safe while a
  /// caller sleeps inside a call.
  void retry_subscriptions();

  /// Raises pending connection events, and retries refused subscriptions. Called by the hand-driven
  /// clock at each step.
  void deliver();

  struct impl;

 private:
  std::shared_ptr<impl> impl_;  // shared with the clients, which may outlive it
};

}  // namespace nx
