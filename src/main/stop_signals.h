// SIGINT and SIGTERM until the tree server takes them over: a stop that is asked for while the
// process is being built ends it in the same order as any other.
#pragma once

#include <functional>
#include <thread>

/// From here on the two signals are remembered instead of ending the process, and writing to a
/// closed socket is an error of that write, not a signal. Once, from main.
void catch_stop_signals();

/// Hands on what `catch_stop_signals` remembers, from a thread of its own: the server installs its
/// handlers at some moment within its `start`, and a signal just before it must not be lost.
class stop_relay {
 public:
  explicit stop_relay(std::function<void()> stop);
  ~stop_relay();
  stop_relay(const stop_relay&) = delete;
  stop_relay& operator=(const stop_relay&) = delete;

 private:
  std::thread thread;
};
