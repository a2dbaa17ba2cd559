#include "gateway/metrics/running_counts.h"

#include "gateway/metrics/tree_lookup.h"
#include "gateway/metrics/tree_metrics.h"
#include "platform/value_tree/path_pattern.h"

namespace gateway {

namespace {

/// A cycle takes milliseconds with quick devices, and 2 s for each that hangs.
const prometheus::Histogram::BucketBoundaries bounds{0.005, 0.01, 0.025, 0.05, 0.1, 0.25,
                                                     0.5,   1.0,  2.5,   5.0,  10.0};

constexpr const char* line_path = "insight/line/stepsLastHour";

}  // namespace

void running_counts::clear() {
  cycle_seconds_ = std::make_unique<prometheus::Histogram>(bounds);
  cycle_seen_ = false;
  steps_.clear();
}

void running_counts::cycle(const nx::json_value& told) {
  if (!told.IsObject()) return;
  const auto number = number_at(told, "number");
  const auto seconds = number_at(told, "seconds");
  if (!number || !seconds || *number == 0) return;
  if (cycle_seen_ && *number == last_cycle_) return;
  cycle_seen_ = true;
  last_cycle_ = *number;
  cycle_seconds_->Observe(*seconds);
}

void running_counts::steps(const std::string& path, unsigned in_last_hour) {
  const auto [known, is_new] = steps_.try_emplace(path, count{in_last_hour, 0});
  if (!is_new && in_last_hour > known->second.last) {
    known->second.total += in_last_hour - known->second.last;
  }
  known->second.last = in_last_hour;
}

void running_counts::add_to(family_set& into, const nx::json_value& values) const {
  if (cycle_seen_) {
    into.histogram("lumora_cycle_seconds", "Time that a cycle took, up to its pause",
                   cycle_seconds_->Collect());
  }
  for (const auto& [path, counted] : steps_) {
    if (path == line_path) {
      into.counter("lumora_line_attenuator_steps_total", "Steps of the line's attenuator", {},
                   counted.total);
      continue;
    }
    const auto tail = nx::first_segment(nx::first_segment(path).second).second;
    const auto [id, rest] = nx::first_segment(tail);
    into.counter("lumora_attenuator_steps_total", "Steps of the channel's attenuator",
                 channel_labels(values, id, nx::first_segment(rest).first), counted.total);
  }
}

}  // namespace gateway
