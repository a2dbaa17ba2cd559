// The offset between an amplifier's output and the monitor after it, as a running mean of accepted
// differences: it ties the monitor's scale to the amplifier's. Written by the loop's thread, read
// by polled values.
#pragma once

#include <atomic>
#include <deque>

namespace manager::loops {

class edfa_calibration {
 public:
  /// Starts from the board's value, dB.
  explicit edfa_calibration(float board_value) : value_(board_value) {}

  float get() const { return value_; }
  bool is_finite() const;

  /// Includes a difference, dB, in the mean of the last six, unless it is not finite or differs
  /// from the present value by 5 dB or more. Returns true if it was included.
  bool accept(float difference);

  void restart(float board_value);

 private:
  static constexpr std::size_t history_limit = 6;
  static constexpr float refusal_limit = 5.0f;

  std::atomic<float> value_;
  std::deque<float> history_;
};

}  // namespace manager::loops
