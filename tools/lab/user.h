// The user's side of the lab: signals and keys, and the one place where the lab waits.
#pragma once

#include <chrono>
#include <csignal>
#include <string>

#include "tools/lab/keys.h"

namespace tools::lab {

class user {
 public:
  /// Turns SIGINT, SIGTERM, SIGHUP, SIGPIPE (nobody reads the output) and changes of the terminal's
  /// size into events to wait for. Call before any thread is started.
  user();
  ~user();
  user(const user&) = delete;
  user& operator=(const user&) = delete;

  /// Reads keys from the terminal from now on.
  void listen_to_keys() { keys_ = true; }

  enum class event { none, quit, resized, key };
  /// The user's next action; `none` if the time is over, or a child has ended.
  event wait(std::chrono::milliseconds time);
  /// The key of the last `event::key`.
  key pressed() const { return pressed_; }

 private:
  event signalled();
  event read_keys();
  event next_key();

  int signals_ = -1;
  bool keys_ = false;
  std::string typed_;  // but not handled yet
  key pressed_ = key::unknown;
  sigset_t before_{};
};

}  // namespace tools::lab
