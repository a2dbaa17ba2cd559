// A clock that only moves when its owner sleeps on it: the daemon's sleeps step the plant, so an
// hour of plant time takes as long as its work.
//
// The thread that created it owns time. Other threads that sleep on it (the LED thread, the
// managers of a pair of nodes) are woken one after the other when their time has come, and the
// owner continues when that thread sleeps again: one thread runs at a time, so that runs are
// repeatable.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "helpers/waiting.h"

namespace test {

class hand_clock : public helpers::time_source, public std::enable_shared_from_this<hand_clock> {
 public:
  using step_function = std::function<void(std::chrono::nanoseconds)>;

  /// `step` is called for each piece of time, of at most 0.1 s. Sleeps inside it take no time.
  explicit hand_clock(step_function step);

  std::chrono::steady_clock::time_point steady_now() override;
  std::chrono::system_clock::time_point system_now() override;
  /// Sleeps of less than a millisecond, the looks at a new subscription, are saved up to 0.1 s.
  void sleep(std::chrono::nanoseconds duration) override;
  void interrupt() override;
  /// A sleep inside a device call: a thread that waits for a nexel may hold locks.
  void wait(const std::function<bool()>& done, std::chrono::nanoseconds limit) override;

  /// Runs `body` on a separate thread, which waits there for threads that sleep on this clock: once
  /// it waits, `time` passes, which has to be enough for them. On the owner's thread.
  void run_beside(std::function<void()> body, std::chrono::nanoseconds time);

  /// A sleep inside a device call.
  void sleep_in_call(std::chrono::nanoseconds duration);

  std::chrono::nanoseconds elapsed() const;

  /// For `step`: some thread sleeps inside a device call and may hold locks, so nothing may run now
  /// that could need them.
  bool is_held() const { return held_; }
  /// For the owner between two sleeps: some thread sleeps inside a call now.
  bool is_in_call() const;

  /// Calls `action` once, on the owner's thread, at time `when` since the start.
  void at(std::chrono::nanoseconds when, std::function<void()> action);

  /// Starts a thread that takes turns with the owner from the beginning. The returned handle joins
  /// it, after `interrupt` or the end of `body`.
  std::jthread start_turn_taker(std::function<void()> body);

 private:
  struct sleeper {
    std::chrono::nanoseconds wake;
    bool held;
    bool awake = false;
  };

  void sleep_for(std::chrono::nanoseconds duration, bool held);
  void advance(std::chrono::nanoseconds duration, bool held);
  void run_due_actions();
  std::chrono::nanoseconds next_piece(std::chrono::nanoseconds left);
  void wake_due_sleepers();
  void park(std::chrono::nanoseconds duration, bool held);
  void end_turn();
  void end_turn_with_thread();

  step_function step_;
  std::thread::id owner_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::chrono::nanoseconds elapsed_{0};
  bool interrupted_ = false;
  bool held_ = false;            // owner's thread only
  bool stepping_ = false;        // owner's thread only
  std::list<sleeper> sleepers_;  // in the order in which they went to sleep
  std::thread::id turn_;         // who runs instead of the owner
  std::multimap<std::chrono::nanoseconds, std::function<void()>> actions_;  // owner's thread only
};

/// A base for tests whose daemon sleeps on a separate clock.
class on_hand_clock {
 protected:
  on_hand_clock() { helpers::waiting::instance().set_source(clock); }
  ~on_hand_clock() { helpers::waiting::instance().set_source(nullptr); }

  const std::shared_ptr<hand_clock> clock =
      std::make_shared<hand_clock>([](std::chrono::nanoseconds) {});
};

}  // namespace test
