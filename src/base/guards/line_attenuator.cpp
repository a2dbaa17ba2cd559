#include "base/guards/line_attenuator.h"

#include <algorithm>
#include <cmath>

namespace guards {

namespace {

using namespace std::chrono_literals;

// More than the tremble of a read-back, less than the smallest step of regulation.
constexpr float noticed_move_db = 0.05f;
constexpr float close_to_asked_db = 0.15f;
// A little more than half of the coarsest step known (0.5 dB).
constexpr float close_to_end_db = 0.3f;
// A step below this may be lost in the attenuator's own resolution.
constexpr float coarsest_resolution_db = 0.5f;

constexpr std::chrono::nanoseconds first_pause = 3s;
constexpr std::chrono::nanoseconds longest_pause = 1min;
// Repeating the very same write gives no new information.
constexpr std::chrono::nanoseconds longest_pause_of_a_repeat = 10min;
constexpr unsigned most_doublings = 10;

float clamp(float attenuation, float minimum, float maximum) {
  return std::max(std::min(attenuation, maximum), minimum);
}

}  // namespace

void attenuator_watch::look(float read_back) {
  if (!request_ || request_->answered) return;
  request_->answered = std::fabs(read_back - request_->from) >= noticed_move_db ||
                       std::fabs(read_back - request_->asked) < close_to_asked_db;
  if (request_->answered) silent_ = 0;
}

std::chrono::nanoseconds attenuator_watch::pause_before(float attenuation) const {
  const auto grown = first_pause * (1u << std::min(silent_, most_doublings));
  return std::min(grown,
                  attenuation == request_->asked ? longest_pause_of_a_repeat : longest_pause);
}

attenuator_watch::decision attenuator_watch::decide_step(float read_back, float adjustment,
                                                         float minimum, float maximum,
                                                         steady_point now) const {
  const float described = clamp(read_back + adjustment, minimum, maximum);
  if (!request_) return {verdict::write, described};
  const float asked = request_->asked;
  if (request_->answered) {
    const bool repeats_end = described == asked && (asked == minimum || asked == maximum);
    const bool is_there = std::fabs(read_back - asked) <= close_to_end_db;
    return {repeats_end && is_there ? verdict::at_end : verdict::write, described};
  }
  // Lost, or too small for it: requested again, together with what has been wanted since, as long
  // as that is little.
  const bool ahead = (asked - read_back) * adjustment > 0;
  float wanted = described;
  if (ahead) {
    wanted = std::fabs(asked - read_back) <= coarsest_resolution_db
                 ? clamp(asked + adjustment, minimum, maximum)
                 : asked;
  }
  return {now - request_->at < pause_before(wanted) ? verdict::waiting : verdict::write, wanted};
}

attenuator_watch::decision attenuator_watch::decide_setting(float wanted, steady_point now) const {
  const bool waits = request_ && !request_->answered && now - request_->at < pause_before(wanted);
  return {waits ? verdict::waiting : verdict::write, wanted};
}

void attenuator_watch::wrote(float from, float asked, steady_point now) {
  if (request_ && !request_->answered) ++silent_;
  request_ = {.from = from, .asked = asked, .at = now, .answered = false};
  look(from);  // there already
}

std::optional<attenuator_watch::steady_point> attenuator_watch::last_write() const {
  return request_ ? std::optional(request_->at) : std::nullopt;
}

bool attenuator_watch::has_taken(float attenuation) const {
  return request_ && request_->answered && request_->asked == attenuation;
}

}  // namespace guards
