#include "tools/lab/convergence.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tools::lab {

namespace {

std::string off_target(const channel_row& row) {
  return fmt::format("{} THz {}: {}", insight::thz_text(row.of.place.frequency), row.of.state_text,
                     row.of.why);
}

void add_channel_reasons(const channel_row& row, std::vector<std::string>& reasons) {
  if (!row.is_lit()) return;
  if (!row.is_on_target()) reasons.push_back(off_target(row));
  const auto& measured = row.of.measured;
  if (!row.truth || !measured || std::abs(*row.truth - *measured) <= convergence::truth_limit_db) {
    return;
  }
  reasons.push_back(fmt::format("{} THz: the reading of {:.2f} dBm is not the plant's {:.2f} dBm",
                                insight::thz_text(row.of.place.frequency), *measured, *row.truth));
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
  for (const auto& each : seen.findings) {
    using insight::cause;
    const bool stands_in_the_way = each.of == cause::loop_down || each.of == cause::device_silent ||
                                   each.of == cause::regulation_stopped;
    if (stands_in_the_way) reasons.push_back(insight::full_sentence(each, seen.node));
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

std::optional<double> worst_truth_difference(const view& seen) {
  std::optional<double> worst;
  for (const auto& row : seen.channels) {
    if (!row.is_lit() || !row.truth || !row.of.measured) continue;
    worst = std::max(worst.value_or(0.0), std::abs(*row.truth - *row.of.measured));
  }
  return worst;
}

}  // namespace tools::lab
