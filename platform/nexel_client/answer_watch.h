// Tells that a nexel has stopped answering, and when to ask it whether it is back. Plain state, its
// owner's thread; time is handed in.
#pragma once

#include <chrono>

namespace nx {

class answer_watch {
 public:
  using time_point = std::chrono::steady_clock::time_point;
  /// A call that is not answered within this has failed, and each later one fails at once: a caller
  /// with many values to read pays for one of them.
  static constexpr std::chrono::seconds time_out{2};
  static constexpr std::chrono::seconds probe_interval{1};

  void timed_out(time_point now) {
    silent_ = true;
    next_probe_ = now + probe_interval;
  }

  void answered() { silent_ = false; }
  bool silent() const { return silent_; }

  /// For a silent nexel: true once a second.
  bool take_probe(time_point now) {
    if (now < next_probe_) return false;
    next_probe_ = now + probe_interval;
    return true;
  }

 private:
  bool silent_ = false;
  time_point next_probe_{};
};

}  // namespace nx
