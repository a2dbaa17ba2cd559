// What the line leaves for its readers: the verdict of its last whole cycle, the VOA's last
// read-back, and the steps of the VOA. Written on the manager thread, read on any, under a mutex
// that is a leaf in the lock order: nobody waits for a cycle that waits for a device. Throws
// nothing. Attenuations and errors in dB.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>

#include "base/insight/actuator_record.h"
#include "base/insight/line_verdict.h"

namespace manager::loops {

class line_record {
 public:
  void publish(const ::insight::line_verdict& verdict);
  void note_attenuation(float attenuation);
  /// A step of the VOA, made for this mean error of the channels at the peer.
  void note_step(float change, float error);
  /// The step was made for the far preamp's saturation.
  void note_giving_way();
  /// The light has changed by itself: a turn of the attenuator after that is no hunting.
  void note_incident();

  ::insight::line_verdict verdict() const;
  ::insight::actuator_record steps() const;
  /// Empty before the first read.
  std::optional<float> attenuation() const;
  /// The VOA was closed for the far preamp's saturation not long ago.
  bool has_given_way() const;

 private:
  mutable std::mutex mutex_;
  ::insight::line_verdict verdict_;
  ::insight::actuator_record steps_;
  std::optional<float> attenuation_;
  std::optional<std::chrono::steady_clock::time_point> gave_way_;
  float error_at_step_ = 0;  ///< when the VOA was stepped last
};

}  // namespace manager::loops
