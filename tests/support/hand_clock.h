// A clock that only moves when somebody sleeps on it: the daemon's sleeps step the plant, so that
// an hour of plant time takes as long as its work. The thread that built it owns time; another
// thread that sleeps (the LED thread) waits until the owner has moved time past its end.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "helpers/waiting.h"

namespace test {

class hand_clock : public helpers::time_source {
 public:
  using step_function = std::function<void(std::chrono::nanoseconds)>;

  /// `step` is called for each piece of time, of at most 0.1 s.
  explicit hand_clock(step_function step);

  std::chrono::steady_clock::time_point steady_now() override;
  std::chrono::system_clock::time_point system_now() override;
  void sleep(std::chrono::nanoseconds duration) override;
  void interrupt() override;

  std::chrono::nanoseconds elapsed() const;

  /// Calls `action` once, on the owner's thread, when time has come to `when` since the start.
  void at(std::chrono::nanoseconds when, std::function<void()> action);

 private:
  void advance(std::chrono::nanoseconds duration);
  void run_due_actions();
  void wait_for_owner(std::chrono::nanoseconds duration);

  step_function step_;
  std::thread::id owner_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  std::condition_variable moved_;
  std::chrono::nanoseconds elapsed_{0};
  bool interrupted_ = false;
  std::multimap<std::chrono::nanoseconds, std::function<void()>> actions_;  // owner's thread only
};

}  // namespace test
