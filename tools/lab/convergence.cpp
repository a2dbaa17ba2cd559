#include "tools/lab/convergence.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tools::lab {

namespace {

bool is_lit(const channel_row& row) {
  return row.state != channel_state::dark && row.state != channel_state::blocked;
}

std::string off_target(const channel_row& row) {
  return fmt::format(
      "{:.3f} THz {}: {:+.2f} dB from its target of {:.2f} dBm at {:.1f} dB attenuation",
      row.frequency_thz, name_of(row.state), row.error, row.target, row.attenuation);
}

void add_channel_reasons(const channel_row& row, std::vector<std::string>& reasons) {
  if (!is_lit(row)) return;
  if (row.state != channel_state::on_target) reasons.push_back(off_target(row));
  if (!row.truth || std::abs(*row.truth - row.measured) <= convergence::truth_limit_db) return;
  reasons.push_back(
      fmt::format("{:.3f} THz: the reading of {:.2f} dBm is not the plant's {:.2f} dBm",
                  row.frequency_thz, row.measured, *row.truth));
}

}  // namespace

bool convergence::line_moved(const view& seen) const {
  return seen.voa_db && voa_at_rest_ && std::abs(*seen.voa_db - *voa_at_rest_) > line_at_rest_db;
}

std::vector<std::string> convergence::reasons(const view& seen) const {
  std::vector<std::string> reasons;
  const auto sums = count(seen);
  if (sums.lit < expected_lit_) {
    reasons.push_back(fmt::format("{} of {} lit channels in sight", sums.lit, expected_lit_));
  }
  if (with_peer_ && seen.peer == no_peer) reasons.emplace_back("the peer is not identified");
  for (const auto& row : seen.channels)
    add_channel_reasons(row, reasons);
  if (seen.lms_step_db && std::abs(*seen.lms_step_db) > line_step_db) {
    reasons.push_back(fmt::format("the line has {:+.2f} dB to go", *seen.lms_step_db));
  }
  if (line_moved(seen))
    reasons.push_back(fmt::format("the line VOA moves ({:.1f} dB)", *seen.voa_db));
  for (const auto& [loop, state] : {std::pair{"line", seen.loops.line},
                                    {"client rx", seen.loops.rx},
                                    {"client tx", seen.loops.tx}}) {
    if (state == "error") reasons.push_back(fmt::format("the {} loop is down", loop));
  }
  return reasons;
}

bool convergence::update(const view& seen, clock::time_point now) {
  if (!reasons(seen).empty()) {
    since_.reset();
    voa_at_rest_.reset();
    return false;
  }
  if (!since_) {
    since_ = now;
    voa_at_rest_ = seen.voa_db;
  }
  return now - *since_ >= hold_;
}

std::optional<convergence::clock::duration> convergence::settled_after(
    clock::time_point start) const {
  if (!since_) return std::nullopt;
  return *since_ - start;
}

std::optional<float> worst_truth_difference(const view& seen) {
  std::optional<float> worst;
  for (const auto& row : seen.channels) {
    if (!is_lit(row) || !row.truth) continue;
    worst = std::max(worst.value_or(0.0F), std::abs(*row.truth - row.measured));
  }
  return worst;
}

}  // namespace tools::lab
