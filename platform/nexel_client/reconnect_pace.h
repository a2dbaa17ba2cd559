// Decides when to retry a connection. Plain arithmetic on its owner's thread; time is passed in.
#pragma once

#include <algorithm>
#include <chrono>
#include <random>

namespace nx {

class reconnect_pace {
 public:
  using time_point = std::chrono::steady_clock::time_point;
  using milliseconds = std::chrono::milliseconds;
  static constexpr milliseconds shortest_pause{100};
  static constexpr milliseconds longest_pause{5000};
  /// Attempts requested by calls are at least this far apart.
  static constexpr milliseconds attempt_spacing{100};

  /// The same seed gives the same pauses.
  explicit reconnect_pace(unsigned seed) : random_(seed) {}

  void attempt_started(time_point now) { last_attempt_ = now; }

  /// Time of the attempt that a call during the pause triggers.
  time_point on_demand(time_point now) const {
    return std::max(now, last_attempt_ + attempt_spacing);
  }

  /// The pause after a failure; each is twice as long as the one before. The longer ones are
  /// shortened at random by up to a fifth, so that the clients of a restarting nexel do not fall
  /// into step.
  milliseconds next_pause() {
    std::uniform_int_distribution<long> part(0, pause_.count() / 5);
    const auto pause = std::max(shortest_pause, pause_ - milliseconds(part(random_)));
    pause_ = std::min(2 * pause_, longest_pause);
    return pause;
  }

  /// The nexel has answered a call or sent an event. A connection that is merely accepted proves
  /// nothing, nor does one that is refused in words, as by a nexel with too many sessions.
  void reset() { pause_ = shortest_pause; }

 private:
  milliseconds pause_ = shortest_pause;
  time_point last_attempt_{};
  std::minstd_rand random_;
};

}  // namespace nx
