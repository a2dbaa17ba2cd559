// Where a channel has come to rest, as its monitor shows it, and how far others move it from there,
// told apart from the monitor's noise: of forty channels read a dozen times one always looks moved
// by four times the noise. A pure value; dB. Looks that repeat a reading count once.
#pragma once

#include <array>
#include <cstddef>

#include "base/insight/channel_verdict.h"

namespace insight {

class rest_level {
 public:
  /// A look while nothing is under way. A channel that is not at rest has no level.
  void rest(float error, bool is_at_rest);
  /// A look while others are under way: how far the channel is from its level, signed; 0 while that
  /// may be noise, and `no_figure` without a level.
  float departure(float error);

 private:
  bool is_new(float error);
  void learn_noise(float error);
  float noise() const;

  // A step of the light shows in one reading, if it stands out of the noise, or in some together.
  static constexpr std::size_t together = 4;

  float last_ = no_figure;  // reading
  float level_ = no_figure;
  unsigned readings_ = 0;                 // of the level
  float variance_ = 0;                    // of the noise
  unsigned differences_ = 0;              // from which it is known
  std::array<float, together> recent_{};  // departures, the newest last
  unsigned recent_count_ = 0;
  float departure_ = 0;
};

}  // namespace insight
