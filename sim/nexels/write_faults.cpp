#include "sim/nexels/write_faults.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "platform/value_tree/nx_db.h"

namespace sim {

void write_faults::set_noise(std::uint64_t seed, std::string stream) {
  seed_ = seed;
  stream_ = std::move(stream);
}

void write_faults::begin(const std::string& pattern, const write_fault& fault,
                         std::chrono::nanoseconds duration) {
  std::optional<std::chrono::nanoseconds> end;
  if (duration.count() > 0) end = now_ + duration;
  faults_.push_back({pattern, fault, end,
                     noise_source(seed_, fmt::format("{} writes {}", stream_, ++last_number_))});
}

void write_faults::heal(const std::string& pattern) {
  std::erase_if(faults_, [&](const active_fault& each) {
    return each.pattern == pattern || nx_db::matches(pattern, each.pattern);
  });
}

bool write_faults::hits(active_fault& fault) {
  if (++fault.seen % std::max(fault.fault.every, 1U) != 0) return false;
  return fault.fault.share >= 1.0 || fault.noise.uniform() < fault.fault.share;
}

void write_faults::pass(const std::string& path, std::function<void()> action) {
  ++count_;
  const auto fits = [&](const active_fault& each) { return nx_db::matches(each.pattern, path); };
  const auto newest = std::find_if(faults_.rbegin(), faults_.rend(), fits);
  if (newest == faults_.rend() || !hits(*newest)) return action();
  switch (newest->fault.what) {
    case write_fault::kind::refused:
      throw newest->fault.error;
    case write_fault::kind::late:
      late_.push_back({now_ + newest->fault.delay, std::move(action)});
      break;
    case write_fault::kind::lost:
      break;
  }
}

void write_faults::step(std::chrono::nanoseconds dt) {
  now_ += dt;
  std::erase_if(faults_,
                [this](const active_fault& each) { return each.end && *each.end <= now_; });
  if (late_.empty()) return;
  const auto waits = std::stable_partition(
      late_.begin(), late_.end(), [this](const late_write& each) { return each.due <= now_; });
  std::vector<late_write> due(std::make_move_iterator(late_.begin()),
                              std::make_move_iterator(waits));
  late_.erase(late_.begin(), waits);
  for (const late_write& each : due) {
    try {
      each.action();
    } catch (const nx_error&) {
      // A value out of range: the device's answer would have reported it.
    }
  }
}

}  // namespace sim
