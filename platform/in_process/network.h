// The in-process transport: clients that reach a tree by function call, with no socket and no
// thread, so that a test's control cycle is one function call on one thread. While an object of
// this class lives, every nexel_client::create and nexel_ipv6_client::create of the process gives
// such a client, whether the tree is attached yet or not.
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
  /// Every answer and event of the address comes this much later, each by itself: requests that go
  /// out together are answered together. What is asked is done at once. An answer that takes 2 s or
  /// more is a call's time-out. A caller that waits spends the time on the test's clock; events
  /// need that clock, and come at the next `deliver` without it.
  void set_latency(const std::string& address, std::chrono::milliseconds latency);

  /// Where the clients that live now point to, whether anything is attached there or not.
  std::set<std::string> addresses_in_use() const;

  /// How a hung call spends its 2 s: the hand-driven clock's sleep.
  void set_wait(std::function<void(std::chrono::milliseconds)> wait);

  /// The hand-driven clock's time. With it refused subscriptions are tried once a second, without
  /// it at each `deliver`. A hung link costs one wait.
  void set_clock(std::function<std::chrono::steady_clock::time_point()> now);

  /// Tries refused subscriptions again and hands out what is late and due, and no more: safe while
  /// a caller sleeps inside a call.
  void retry_subscriptions();

  /// Raises the connection events that wait, and tries refused subscriptions again. The hand-driven
  /// clock calls it at each step.
  void deliver();

  struct impl;

 private:
  std::shared_ptr<impl> impl_;  // shared with the clients, which may live longer
};

}  // namespace nx
