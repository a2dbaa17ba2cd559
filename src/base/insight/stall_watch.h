// When the regulation of the line comes to stand still, and when it goes on again, for the events:
// what stands for longer than a moment and needs a person, and has no event of its own as a cut
// fibre, a lost peer and a loop that is down have.
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

  /// A start and a mended fibre need as long until the peer is there.
  static constexpr std::chrono::seconds patience{10};
  /// A regulator that is exhausted gathers readings between two looks at its end.
  static constexpr std::chrono::seconds pause{30};

 private:
  void begin(const line_verdict& verdict, time_point now);
  void end(time_point now);

  std::optional<states::line_state> told_;  ///< of the stall that the log knows
  time_point told_at_{};
  time_point seen_{};                       ///< when the line stood in it last
  std::optional<states::line_state> next_;  ///< of one that may become a stall
  time_point next_since_{};
};

}  // namespace insight
