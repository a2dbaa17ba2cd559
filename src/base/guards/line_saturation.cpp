#include "base/guards/line_saturation.h"

#include <cmath>

namespace guards {

namespace {

using namespace std::chrono_literals;

// Attenuator and amplifier are at rest after this.
constexpr auto settling_time = 300ms;
// The peer's loop reports twice a second: what it reported in between, it would have reported
// again.
constexpr auto two_cycles_of_the_peer = 900ms;
// Channel powers show that the peer's loop has run, but not that it saw the step: after this time
// it has.
constexpr auto several_cycles_of_the_peer = 3s;

// Half of the smallest step.
constexpr float noticed_change_db = 0.1f;
constexpr unsigned most_unanswered = 2;

}  // namespace

bool saturation_steps::stands_still(float saturation) const {
  return at_last_step_ && std::fabs(saturation - *at_last_step_) < noticed_change_db;
}

saturation_verdict saturation_steps::judge(const saturation_evidence& seen) const {
  using enum saturation_verdict;
  if (seen.last_write) {
    const auto write = *seen.last_write;
    const bool answered = seen.saturation_changed && *seen.saturation_changed > write;
    if (answered && *seen.saturation_changed < write + settling_time &&
        seen.now - write < two_cycles_of_the_peer) {
      return settling;
    }
    const bool alive =
        seen.channels_changed && *seen.channels_changed > write + several_cycles_of_the_peer;
    if (!answered && !alive) return stale;
  } else if (!seen.saturation_changed && !seen.channels_changed) {
    return stale;
  }
  if (unanswered_ >= most_unanswered && stands_still(seen.saturation)) return unmoved;
  return step;
}

void saturation_steps::stepped(float saturation) {
  unanswered_ = stands_still(saturation) ? unanswered_ + 1 : 0;
  at_last_step_ = saturation;
}

void saturation_steps::reset() {
  *this = {};
}

}  // namespace guards
