#include "sim/nexels/reading_faults.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/value_tree/nx_db.h"

namespace sim {

void reading_faults::set_noise(std::uint64_t seed, std::string stream) {
  seed_ = seed;
  stream_ = std::move(stream);
}

void reading_faults::forget_removed() {
  std::erase_if(readings_, [](const auto& each) { return each.expired(); });
}

std::vector<std::shared_ptr<faulty_reading>> reading_faults::live() {
  forget_removed();
  std::vector<std::shared_ptr<faulty_reading>> readings;
  for (const auto& each : readings_) {
    if (auto reading = each.lock()) readings.push_back(std::move(reading));
  }
  return readings;
}

void reading_faults::apply(const active_fault& fault, faulty_reading& to) const {
  const std::string path = to.get_path(0);
  if (!nx_db::matches(fault.pattern, path)) return;
  to.begin_fault(fault.number, fault.fault,
                 noise_source(seed_, fmt::format("{} {} {}", stream_, path, fault.number)));
}

void reading_faults::watch(const std::shared_ptr<faulty_reading>& added) {
  // A reading that has gone keeps its memory as long as it stands here.
  if (readings_.size() == readings_.capacity()) forget_removed();
  readings_.push_back(added);
  for (const active_fault& each : faults_)
    apply(each, *added);
}

void reading_faults::begin(active_fault fault) {
  fault.number = ++last_number_;
  for (const auto& each : live())
    apply(fault, *each);
  faults_.push_back(std::move(fault));
}

void reading_faults::begin(const std::string& pattern, const reading_fault& fault,
                           std::chrono::nanoseconds duration) {
  active_fault begun{.number = 0, .pattern = pattern, .fault = fault, .end = {}};
  if (duration.count() > 0) begun.end = now_ + duration;
  begin(std::move(begun));
}

void reading_faults::end(unsigned number) {
  for (const auto& each : live())
    each->end_fault(number);
  std::erase_if(faults_, [number](const active_fault& each) { return each.number == number; });
}

void reading_faults::heal(const std::string& pattern) {
  const auto present = faults_;
  for (const active_fault& each : present) {
    if (each.pattern == pattern || nx_db::matches(pattern, each.pattern)) end(each.number);
  }
}

void reading_faults::stopped() {
  const bool held = std::any_of(faults_.begin(), faults_.end(),
                                [](const active_fault& each) { return each.over_restart; });
  if (hold_.count() == 0 || held) return;
  begin({.number = 0,
         .pattern = "**",
         .fault = reading_fault::frozen(),
         .end = {},
         .over_restart = true});
}

void reading_faults::came_back() {
  for (active_fault& each : faults_) {
    if (each.over_restart && !each.end) each.end = now_ + hold_;
  }
}

void reading_faults::step(std::chrono::nanoseconds dt) {
  now_ += dt;
  if (faults_.empty()) return;
  const auto present = faults_;
  for (const active_fault& each : present) {
    if (each.end && *each.end <= now_) end(each.number);
  }
  for (const auto& each : live())
    each->step_fault(dt);
}

}  // namespace sim
