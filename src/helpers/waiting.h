// Time and waiting for the whole daemon in one place: the present time and every sleep. A sleep
// ends when the process stops, so that SIGTERM is answered at once in any phase. Tests use a
// hand-driven clock: a sleep then steps the plant.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace helpers {

/// The clock used by `waiting`: the real one, or a test's.
class time_source {
 public:
  virtual ~time_source() = default;
  virtual std::chrono::steady_clock::time_point steady_now() = 0;
  virtual std::chrono::system_clock::time_point system_now() = 0;
  /// Returns early when `interrupt` is called.
  virtual void sleep(std::chrono::nanoseconds duration) = 0;
  virtual void interrupt() = 0;

  /// Returns when `done` is true, which is checked at once and after each `wake`, when the time is
  /// over, or when `interrupt` is called. This default, for clocks without threads, checks once a
  /// millisecond.
  virtual void wait(const std::function<bool()>& done, std::chrono::nanoseconds limit);
  virtual void wake() {}
};

/// Thrown from waits without a limit if the process stops meanwhile.
struct process_stopping {};

class waiting {
 public:
  static waiting& instance();

  std::chrono::steady_clock::time_point steady_now();
  /// The wall clock at start plus steady time: a step of the wall clock moves no timer.
  std::chrono::system_clock::time_point system_now();

  /// True after the full time, false as soon as the process is stopping. Any thread; on the
  /// manager's thread it also gives signs of life to the service manager.
  bool sleep(std::chrono::nanoseconds duration);

  /// Waits for something done by another thread, which then calls `wake`. True once `done` is true;
  /// false after `limit`, or as soon as the process is stopping. `done` may take locks, but none
  /// that callers of `wake` hold.
  bool wait(const std::function<bool()>& done, std::chrono::nanoseconds limit);

  /// Something that a thread waits for may have happened. Any thread; costs nothing while nobody
  /// waits.
  void wake();

  /// Ends every sleep and wait, now and later.
  void stop();
  bool stopping() const;

  /// Sets a test's clock and forgets an earlier `stop`; null restores the real one.
  void set_source(std::shared_ptr<time_source> source);

 private:
  waiting();
  struct impl;
  std::unique_ptr<impl> impl_;
};

inline std::chrono::steady_clock::time_point steady_now() {
  return waiting::instance().steady_now();
}

inline std::chrono::system_clock::time_point system_now() {
  return waiting::instance().system_now();
}

}  // namespace helpers
