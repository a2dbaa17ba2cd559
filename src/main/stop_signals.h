// SIGINT and SIGTERM until the tree server takes over: a stop requested while the process is being
// built ends it in the same order as any other.
#pragma once

#include <functional>
#include <thread>

/// From now on the two signals are remembered instead of killing the process, and writing to a
/// closed socket is an error of that write, not a signal. Called once, from main.
void catch_stop_signals();

/// Passes on what `catch_stop_signals` remembers, from a separate thread: the server installs its
/// handlers at some moment during its `start`, and a signal just before it must not be lost.
class stop_relay {
 public:
  explicit stop_relay(std::function<void()> stop);
  ~stop_relay();
  stop_relay(const stop_relay&) = delete;
  stop_relay& operator=(const stop_relay&) = delete;

 private:
  std::thread thread;
};
