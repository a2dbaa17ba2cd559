// The effect of one fault on one reading: arithmetic on the reading's JSON text, without a tree, a
// lock or a clock.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "sim/faults.h"
#include "sim/plant/noise.h"

namespace sim {

/// What a client is shown: a value as JSON text, or an error instead.
struct shown_reading {
  std::string json;
  std::optional<nx_error> error{};
  bool operator==(const shown_reading&) const = default;
};

class distortion {
 public:
  /// `present` is the value that a frozen reading keeps. A value that is not `measured`, such as a
  /// state or a count, gets no noise and no steps.
  distortion(reading_fault fault, const std::string& path, std::string present, bool measured,
             noise_source noise);

  /// Draws again when the fault's pace says so.
  void step(std::chrono::nanoseconds dt);
  shown_reading of(const std::string& true_json) const;
  bool hides_path() const { return fault_.what == reading_fault::kind::missing; }

 private:
  void draw();
  std::string moved(const std::string& json) const;
  std::string stepped(const std::string& json) const;

  reading_fault fault_;
  std::string held_;
  bool measured_;
  noise_source noise_;
  double offset_ = 0.0;
  std::chrono::nanoseconds since_draw_{0};
};

}  // namespace sim
