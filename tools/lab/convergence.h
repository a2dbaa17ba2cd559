// The verdict of a run: have all lit channels reached their targets, do they stay there, and does
// the plant agree. Time is passed in.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/lab/view_model.h"

namespace tools::lab {

class convergence {
 public:
  using clock = std::chrono::steady_clock;

  /// `expected_lit` channels have their lasers on; with fewer in sight the run is not over. With a
  /// peer the line loop waits for changed readings between its steps, so the hold time is longer.
  explicit convergence(unsigned expected_lit, bool with_peer = false)
      : expected_lit_(expected_lit), with_peer_(with_peer), hold_(with_peer ? hold_peer : hold) {}

  /// True once everything has been on target, and the line at rest, for the whole hold time.
  bool update(const view& seen, clock::time_point now);

  /// Why the newest view is not converged, one line each; empty if nothing is wrong with it.
  std::vector<std::string> reasons(const view& seen) const;

  static constexpr std::chrono::seconds hold{5};
  static constexpr std::chrono::seconds hold_peer{20};
  /// A VOA that moves further than its own step and noise is still being regulated, dB.
  static constexpr double line_at_rest_db = 0.25;
  /// The line's next step is significant beyond this, dB.
  static constexpr double line_step_db = 0.15;
  /// The combined tolerance of monitor and power taps, dB.
  static constexpr double truth_limit_db = 1.5;

 private:
  bool line_moved(const view& seen) const;

  unsigned expected_lit_;
  bool with_peer_;
  clock::duration hold_;
  std::optional<clock::time_point> since_;
  std::optional<double> voa_at_rest_;
};

/// Largest difference between the plant's truth and the reading over the lit channels, dB; empty if
/// the plant does not report it.
std::optional<double> worst_truth_difference(const view& seen);

}  // namespace tools::lab
