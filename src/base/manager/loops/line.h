// The line loop with its view of the channels: the two operations of its regulator that walk over
// them. T is the channel control type.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/channel/plan.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"

namespace manager::loops {

template <class T>
class line : public line_loop {
 public:
  line(std::shared_ptr<::channel::plan<T>> channels, std::shared_ptr<manager::remote::api> remote);

  std::optional<float> calculate_lms_error() override;
  bool lms_calmdown(float error) override;

 protected:
  std::optional<line_loop::steady_point> newest_channel_change() override;

 private:
  /// False if the peer has reported nothing new since the last call.
  bool read_remote_powers();
  bool does_any_count() const;
  float read_edfa_calibration();
  /// The power of a channel at the peer as the mean of its last readings; empty while it does not
  /// count.
  std::optional<float> average_remote_power(T& control, const line_peer::reading& power,
                                            float edfa_calibration);
  float active_width();

  std::shared_ptr<::channel::plan<T>> channels_;
};

}  // namespace manager::loops
