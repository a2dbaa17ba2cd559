// Reports when the regulation of the line comes to a standstill, and when it continues, to the
// events: states that last longer than a moment and need a person, and have no event of their own
// as a cut fibre, a lost peer and a loop that is down have.
//
// On the manager thread, once a cycle; throws nothing.
#pragma once

#include <chrono>
#include <optional>

#include "base/insight/line_verdict.h"

namespace insight {

class stall_watch {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  void look(const line_verdict& verdict, time_point now);

  /// A start and a mended fibre take this long until the peer is there.
  static constexpr std::chrono::seconds patience{10};
  /// An exhausted regulator collects readings between two looks at the end of its range.
  static constexpr std::chrono::seconds pause{30};

 private:
  void begin(const line_verdict& verdict, time_point now);
  void end(time_point now);

  std::optional<states::line_state> told_;  ///< of the stall in the log
  time_point told_at_{};
  time_point seen_{};                       ///< when the line was last in it
  std::optional<states::line_state> next_;  ///< of a potential stall
  time_point next_since_{};
};

}  // namespace insight
