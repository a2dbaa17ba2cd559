// Does the line's attenuator do what it is asked? Its proxy swallows a failed write, a write may
// get lost, and a read-back may move late, in coarse steps, or not at all. The requested value is
// kept here until the read-back has responded. A write without a response is repeated at growing
// intervals from where the attenuator is, one below its resolution is carried over, and the end of
// its range is requested only once.
//
// A value class of the manager thread without clock or device; throws nothing. Attenuations in dB.
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
    waiting,  ///< the last write has had no response yet
    at_end    ///< it is at the end of its range, as requested
  };
  struct decision {
    verdict what;
    float attenuation;
  };

  /// What it shows now.
  void look(float read_back);
  /// A step by `adjustment`. On an attenuator that responds, it starts from the read-back.
  decision decide_step(float read_back, float adjustment, float minimum, float maximum,
                       steady_point now) const;
  /// A setting to `wanted`, which the attenuator does not show yet.
  decision decide_setting(float wanted, steady_point now) const;
  void wrote(float from, float asked, steady_point now);

  std::optional<steady_point> last_write() const;
  /// It has moved since the last write, or is where it was asked to be.
  bool has_answered() const { return !request_ || request_->answered; }
  /// The last write requested this, and it has responded.
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
  unsigned silent_ = 0;  // consecutive writes without a response, before the last
};

}  // namespace guards
