// Decides which calls may go out to a nexel that has stopped answering. Plain state, its owner's
// thread; time is handed in.
#pragma once

#include <chrono>

namespace nx {

class answer_watch {
 public:
  using time_point = std::chrono::steady_clock::time_point;
  /// A call that is not answered within this has failed.
  static constexpr std::chrono::seconds time_out{2};
  static constexpr std::chrono::seconds probe_interval{1};

  /// False: the call fails at once. From a time-out on, one call a second is let through, counted
  /// from the end of the last time-out: a caller with many values to read then pays for one of
  /// them, not for each.
  bool admits(time_point now) {
    if (!silent_) return true;
    if (now < next_probe_) return false;
    next_probe_ = now + time_out + probe_interval;
    return true;
  }

  void timed_out(time_point now) {
    silent_ = true;
    next_probe_ = now + probe_interval;
  }

  void answered() { silent_ = false; }
  bool silent() const { return silent_; }

 private:
  bool silent_ = false;
  time_point next_probe_{};
};

}  // namespace nx
