// Time and waiting of the whole daemon, in one place: what "now" is, and every sleep. A sleep ends
// when the process stops, so that SIGTERM is answered at once in any phase. Tests put a hand-driven
// clock behind it: a sleep then steps the plant.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace helpers {

/// What stands behind `waiting`: the real clock, or a test's.
class time_source {
 public:
  virtual ~time_source() = default;
  virtual std::chrono::steady_clock::time_point steady_now() = 0;
  virtual std::chrono::system_clock::time_point system_now() = 0;
  /// Returns early when `interrupt` is called.
  virtual void sleep(std::chrono::nanoseconds duration) = 0;
  virtual void interrupt() = 0;

  /// Returns when `done` holds, which is asked at once and after each `wake`, when the time is over
  /// or when `interrupt` is called. Here for clocks without threads: looks once a millisecond.
  virtual void wait(const std::function<bool()>& done, std::chrono::nanoseconds limit);
  virtual void wake() {}
};

/// Thrown out of waits without limit when the process stops in the middle of them.
struct process_stopping {};

class waiting {
 public:
  static waiting& instance();

  std::chrono::steady_clock::time_point steady_now();
  /// The wall clock at start plus the steady time since: a step of the wall clock moves no timer.
  std::chrono::system_clock::time_point system_now();

  /// True after the full time, false as soon as the process is stopping. From any thread; the
  /// manager's shows its service manager meanwhile that it lives.
  bool sleep(std::chrono::nanoseconds duration);

  /// Waits for what another thread does, which tells so by `wake`. True once `done` holds; false
  /// after `limit`, or as soon as the process is stopping. `done` may take locks of its own that
  /// are not held by whoever calls `wake`.
  bool wait(const std::function<bool()>& done, std::chrono::nanoseconds limit);

  /// What some thread waits for may have come about. From any thread; costs nothing while nobody
  /// waits.
  void wake();

  /// Ends every sleep and wait, now and later.
  void stop();
  bool stopping() const;

  /// Puts a test's clock behind this and forgets an earlier `stop`; null puts the real one back.
  void set_source(std::shared_ptr<time_source> source);

 private:
  waiting();
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace helpers
