#include "base/insight/rest_level.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace insight {

namespace {

// A minute of a usual monitor: long enough to know its noise, short enough to follow a change.
constexpr unsigned readings_of_noise = 64;
constexpr unsigned readings_of_level = 16;
// Before enough readings tell it, the noise of a usual monitor.
constexpr unsigned fewest_differences = 8;
constexpr float usual_noise_db = 0.05f;
// Of some hundred looks at a band, about one in a hundred exceeds the first by chance, and one in
// ten the second, whose figure is small.
constexpr float sure = 4.5f;
constexpr float likely = 3.3f;
// The largest of a few readings exceeds the light by one to two times their noise; of one, by none.
constexpr float usual_excess = 0.6f;

/// A mean over all values up to `most`, of the newest after that.
float approach(float mean, float value, unsigned count, unsigned most) {
  return mean + (value - mean) / static_cast<float>(std::min(count, most));
}

}  // namespace

bool rest_level::is_new(float error) {
  if (error == last_) return false;
  last_ = error;
  return true;
}

// From one reading to the next, so that a drift is none; of both readings' noise.
void rest_level::learn_noise(float error) {
  if (!is_figure(last_)) return;
  const float difference = error - last_;
  ++differences_;
  variance_ = approach(variance_, difference * difference / 2, differences_, readings_of_noise);
}

float rest_level::noise() const {
  return differences_ < fewest_differences ? usual_noise_db : std::sqrt(variance_);
}

void rest_level::rest(float error, bool is_at_rest) {
  recent_count_ = 0;
  departure_ = 0;
  if (!is_at_rest || !is_figure(error)) {
    level_ = last_ = no_figure;
    readings_ = 0;
    return;
  }
  if (error == last_) return;
  learn_noise(error);
  last_ = error;
  level_ = readings_++ == 0 ? error : approach(level_, error, readings_, readings_of_level);
}

float rest_level::departure(float error) {
  if (!is_figure(level_) || !is_figure(error)) return no_figure;
  if (!is_new(error)) return departure_;
  std::rotate(recent_.begin(), recent_.begin() + 1, recent_.end());
  recent_.back() = error - level_;
  ++recent_count_;
  const float of_level = 1.0f / static_cast<float>(std::min(readings_, readings_of_level));
  const auto stands_out = [&](float by, float share, float times) {
    return std::fabs(by) > times * noise() * std::sqrt(share + of_level);
  };
  constexpr float each = 1.0f / static_cast<float>(together);
  const float mean = std::accumulate(recent_.begin(), recent_.end(), 0.0f) * each;
  departure_ = 0;
  if (stands_out(recent_.back(), 1.0f, sure)) {
    departure_ = recent_.back() - std::copysign(usual_excess * noise(), recent_.back());
  } else if (recent_count_ >= together && stands_out(mean, each, likely)) {
    departure_ = mean;
  }
  return departure_;
}

}  // namespace insight
