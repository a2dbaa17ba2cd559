// The user's side of the lab: signals and keys, and the one place where the lab waits.
#pragma once

#include <chrono>
#include <csignal>

namespace tools::lab {

class user {
 public:
  /// Takes SIGINT, SIGTERM, SIGHUP, SIGPIPE (nobody reads what is printed) and the terminal's
  /// change of size as things to wait for. Before any thread is started.
  user();
  ~user();
  user(const user&) = delete;
  user& operator=(const user&) = delete;

  /// Reads keys from the terminal from now on.
  void listen_to_keys() { keys_ = true; }

  enum class event { none, quit, resized, up, down, next };
  /// The next thing that the user does; `none` when the time is over, or a child has ended.
  event wait(std::chrono::milliseconds time);

 private:
  event signalled();
  event key();

  int signals_ = -1;
  bool keys_ = false;
  sigset_t before_{};
};

}  // namespace tools::lab
