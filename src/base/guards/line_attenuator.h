// Does the line's attenuator do what it is asked? Its proxy swallows a failed write, a write may be
// lost on its way, and a read-back may move late, in coarse steps, or not at all. What was asked
// for is kept here until the read-back has answered; a write that finds no answer is repeated at
// growing pauses from where the attenuator stands, one that is below its resolution is carried
// over, and the end of its range is asked for once.
//
// A value class of the manager thread without clock or device; throws nothing. Attenuations dB.
#pragma once

#include <chrono>
#include <optional>

#include "helpers/guard_register.h"

namespace guards {

inline constexpr helpers::guard_kind line_attenuator{"line-attenuator"};

class attenuator_watch {
 public:
  using steady_point = std::chrono::steady_clock::time_point;

  enum class verdict {
    write,
    waiting,  ///< the last write has not been answered yet
    at_end    ///< it stands at the end of its range, as it was asked to
  };
  struct decision {
    verdict what;
    float attenuation;
  };

  /// What it shows now.
  void look(float read_back);
  /// A step by `adjustment`. On an attenuator that answers it starts from the read-back.
  decision decide_step(float read_back, float adjustment, float minimum, float maximum,
                       steady_point now) const;
  /// A setting to `wanted`, which the attenuator does not show yet.
  decision decide_setting(float wanted, steady_point now) const;
  void wrote(float from, float asked, steady_point now);

  std::optional<steady_point> last_write() const;
  /// It has moved since the last write, or stands where it was asked to.
  bool has_answered() const { return !request_ || request_->answered; }
  /// The last write asked for this, and was answered.
  bool has_taken(float attenuation) const;

 private:
  struct request {
    float from;
    float asked;
    steady_point at;
    bool answered;
  };

  std::chrono::nanoseconds pause_before(float attenuation) const;

  std::optional<request> request_;
  unsigned silent_ = 0;  // writes in a row that found no answer, before the last
};

}  // namespace guards
