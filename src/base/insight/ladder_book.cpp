#include "base/insight/ladder_book.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace insight {

namespace {

using namespace std::chrono_literals;

constexpr auto time_to_learn = 60s;
constexpr float stands_still_within = 0.5f;
// A deliberate change is not wrong for ever, and a difference that nobody has attended to for a day
// is no news.
constexpr auto time_to_accept = 24h;
constexpr float steady_for_a_day_within = 1.0f;
/// Instruments are seconds apart: while something moves, one or two looks may disagree.
constexpr unsigned looks_to_believe = 5;

}  // namespace

void usual_value::look(std::optional<float> now, time_point when, std::optional<float> limit) {
  if (!now || (limit && std::fabs(*now) > *limit)) {
    count_ = 0;
    return;
  }
  const float band = known_ ? steady_for_a_day_within : stands_still_within;
  lowest_ = count_ == 0 ? *now : std::min(lowest_, *now);
  highest_ = count_ == 0 ? *now : std::max(highest_, *now);
  if (count_ == 0 || highest_ - lowest_ > band) {
    lowest_ = highest_ = *now;
    since_ = when;
    sum_ = 0;
    count_ = 0;
  }
  sum_ += double{*now};
  ++count_;
  const auto mean = static_cast<float>(sum_ / count_);
  const bool is_new = !known_ && when - since_ >= time_to_learn;
  const bool is_accepted = known_ && when - since_ >= time_to_accept &&
                           std::fabs(mean - *known_) > ladder_limits::noticed;
  if (is_new || is_accepted) known_ = mean;
}

void ladder_book::learn(const differences& now, time_point when) {
  for (const auto& [id, level] : now.ports)
    usual_.ports[id].look(level, when, std::nullopt);
  usual_.amplifier.look(now.amplifier, when, ladder_limits::amplifier);
  usual_.monitor.look(now.monitor, when, ladder_limits::amplifier);
  usual_.fibre.look(now.fibre, when, std::nullopt);
  usual_.line.look(now.line, when, ladder_limits::line);
  usual_.far.look(now.far, when, ladder_limits::line);
}

differences ladder_book::usual() const {
  differences known{.amplifier = usual_.amplifier.get(),
                    .monitor = usual_.monitor.get(),
                    .fibre = usual_.fibre.get(),
                    .line = usual_.line.get(),
                    .far = usual_.far.get()};
  for (const auto& [id, level] : usual_.ports) {
    if (const auto value = level.get()) known.ports[id] = *value;
  }
  return known;
}

void ladder_book::settle(std::optional<ladder_finding> found) {
  const bool agrees =
      found.has_value() == candidate_.has_value() && (!found || found->is_same(*candidate_));
  agreeing_ = agrees ? agreeing_ + 1 : 1;
  candidate_ = std::move(found);
}

void ladder_book::look(ladder_view view, time_point now) {
  auto differences = differences_of(view, way_);
  learn(differences, now);
  auto usual_now = usual();
  settle(first_fault(differences, usual_now, way_));
  const std::lock_guard lock(mutex_);
  if (agreeing_ >= looks_to_believe) page_.fault = candidate_;
  page_.view = std::move(view);
  page_.now = std::move(differences);
  page_.usual = std::move(usual_now);
}

ladder_book::page ladder_book::open() const {
  const std::lock_guard lock(mutex_);
  return page_;
}

}  // namespace insight
