#include "base/insight/actuator_record.h"

#include <algorithm>
#include <utility>

namespace insight {

using namespace std::chrono_literals;

std::int64_t actuator_record::minute_of(time_point time) {
  return std::chrono::floor<std::chrono::minutes>(time.time_since_epoch()).count();
}

void actuator_record::turn_to(std::int64_t minute) {
  const auto emptied = std::min<std::int64_t>(minute - newest_, minutes_kept);
  for (std::int64_t i = 0; i < emptied; ++i)
    minutes_[static_cast<std::size_t>((minute - i) % minutes_kept)] = {};
  newest_ = std::max(newest_, minute);
}

void actuator_record::step(time_point now, float change) {
  if (change == 0) return;
  const auto minute = minute_of(now);
  turn_to(minute);
  auto& place = minutes_[static_cast<std::size_t>(minute % minutes_kept)];
  ++place.steps;
  ++steps_;
  const auto before = std::exchange(last_step_, now);
  const bool turns_round = last_change_ * change < 0;
  last_change_ = change;
  if (!turns_round) return;
  ++place.reversals;
  if (now - *before <= hunting_window) note_turn(now);
}

void actuator_record::note_turn(time_point now) {
  const auto pause = now - turns_.back();
  const bool goes_on = turn_count_ > 0 && pause <= hunting_window;
  longest_pause_ = goes_on ? std::max<std::chrono::nanoseconds>(longest_pause_, pause) : 0ns;
  std::rotate(turns_.begin(), turns_.begin() + 1, turns_.end());
  turns_.back() = now;
  turn_count_ = std::min(turn_count_ + 1, turns_of_hunting);
}

void actuator_record::event() {
  turn_count_ = 0;
  last_change_ = 0;
}

template <class Count>
unsigned actuator_record::sum(time_point now, Count count) const {
  const auto minute = minute_of(now);
  const auto oldest = std::max<std::int64_t>(minute - minutes_kept + 1, newest_ - minutes_kept + 1);
  unsigned total = 0;
  for (auto each = std::max<std::int64_t>(oldest, 0); each <= newest_; ++each)
    total += minutes_[static_cast<std::size_t>(each % minutes_kept)].*count;
  return total;
}

unsigned actuator_record::steps_last_hour(time_point now) const {
  return sum(now, &of_minute::steps);
}

unsigned actuator_record::reversals_last_hour(time_point now) const {
  return sum(now, &of_minute::reversals);
}

bool actuator_record::is_hunting(time_point now) const {
  constexpr int times_as_long = 3;
  const auto patience =
      std::max<std::chrono::nanoseconds>(times_as_long * longest_pause_, least_patience);
  return turn_count_ == turns_of_hunting && now - turns_.front() <= hunting_window &&
         now - turns_.back() <= patience;
}

}  // namespace insight
