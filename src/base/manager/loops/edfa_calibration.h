// The offset between an amplifier's output and the monitor behind it, as a running mean of accepted
// differences: it ties the monitor's scale to the amplifier's. Written by the loop's thread, read
// by polled values.
#pragma once

#include <atomic>
#include <deque>

namespace manager::loops {

class edfa_calibration {
 public:
  /// Starts from the board's own figure, dB.
  explicit edfa_calibration(float board_value) : value_(board_value) {}

  float get() const { return value_; }
  bool is_finite() const;

  /// Takes a difference, dB, into the mean of the last six, unless it is not finite or 5 dB or more
  /// away from the present value. True if it was taken.
  bool accept(float difference);

  void restart(float board_value);

 private:
  static constexpr std::size_t history_limit = 6;
  static constexpr float refusal_limit = 5.0f;

  std::atomic<float> value_;
  std::deque<float> history_;
};

}  // namespace manager::loops
