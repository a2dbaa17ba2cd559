// May the line give way to a saturated far preamp again? Each step needs evidence of the one before
// it, from a peer that is alive: a saturation that changed after the step or, since a peer reports
// only changes, channel powers that changed well after it. A saturation that responds to no step is
// not a measurement and is not followed for long.
//
// The peer's client loop reports both from the same cycle: whatever stops that loop (a dead or hung
// daemon, a dead switch service, another mode) stops both.
//
// A value class of the manager thread without clock or device; throws nothing. Saturations in dB.
#pragma once

#include <chrono>
#include <optional>

#include "helpers/guard_register.h"

namespace guards {

inline constexpr helpers::guard_kind line_fresh{"line-fresh"};

using steady_point = std::chrono::steady_clock::time_point;

/// What is known of the peer in a cycle. Times are those of the last *change* on the present
/// connection; empty for what has not changed since the connection was made.
struct saturation_evidence {
  float saturation;
  std::optional<steady_point> saturation_changed;
  std::optional<steady_point> channels_changed;  ///< the newest of all channels
  std::optional<steady_point> last_write;        ///< of this node's line attenuator
  steady_point now;
};

enum class saturation_verdict {
  step,
  settling,  ///< it was reported before the last write took effect
  stale,     ///< nothing of the peer changed after the last write
  unmoved    ///< the same saturation is reported after several steps
};

class saturation_steps {
 public:
  saturation_verdict judge(const saturation_evidence& seen) const;
  /// A step was made because of this saturation.
  void stepped(float saturation);
  /// A new connection.
  void reset();

 private:
  bool stands_still(float saturation) const;

  std::optional<float> at_last_step_;
  unsigned unanswered_ = 0;  // steps on the same saturation, after the first
};

}  // namespace guards
