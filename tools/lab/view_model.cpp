#include "tools/lab/view_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tools::lab {

namespace {

using states::channel_state;
using states::severity;

channel_row row_of(const readings& read, const insight::channel& of, unsigned node) {
  const auto key = std::to_string(of.place.frequency);
  return {of, of.is_rx ? read.number(truth_path(node, key)) : std::nullopt};
}

/// Larger is more urgent.
double need_of(const channel_row& row) {
  constexpr double above_any_error = 100.0;
  const auto how = row.severity();
  if (how != severity::person && how != severity::working) return 0.0;
  return (how == severity::person ? 2 : 1) * above_any_error + std::abs(row.of.error.value_or(0.0));
}

}  // namespace

bool channel_row::is_lit() const {
  return of.state && *of.state != channel_state::dark && *of.state != channel_state::blocked;
}

bool channel_row::is_on_target() const {
  constexpr double near_db = 0.5;
  if (of.state == channel_state::on_target) return true;
  return severity() == states::severity::working && of.error && std::abs(*of.error) < near_db;
}

severity channel_row::severity() const {
  return of.state ? states::row_of(*of.state).how : states::severity::quiet;
}

std::string truth_path(unsigned node, const std::string& key) {
  return fmt::format("truth/node/{}/rx/channel/{}/boosterPower", node, key);
}

view make_view(const readings& read, std::vector<insight::event> events, unsigned node,
               std::optional<long> now) {
  view seen;
  seen.node = insight::insight_of(read, std::move(events));
  seen.node.now = now;
  seen.findings = insight::findings_of(seen.node);
  for (const auto& each : seen.node.channels) {
    if (each.is_rx) seen.channels.push_back(row_of(read, each, node));
  }
  seen.lights = panel_of(read, panel_prefix);
  if (!seen.node.peer.empty() && seen.node.peer != "n/a") seen.peer = seen.node.peer;
  seen.booster_dbm = read.number("insight/device/booster/outputPower");
  seen.voa_db = read.number("insight/device/voa/attenuation");
  seen.lms_step_db = read.number("data/line/lmsStepSize");
  return seen;
}

std::vector<channel_row> rows_by_need(const view& seen) {
  auto rows = seen.channels;
  for (const auto& each : seen.node.channels) {
    const channel_row row{each, std::nullopt};
    if (!each.is_rx && need_of(row) > 0.0) rows.push_back(row);
  }
  std::stable_sort(rows.begin(), rows.end(), [](const channel_row& one, const channel_row& other) {
    return need_of(one) > need_of(other);
  });
  return rows;
}

tally count(const view& seen) {
  tally sums;
  for (const auto& row : seen.channels) {
    if (!row.is_lit()) continue;
    ++sums.lit;
    if (row.is_on_target()) ++sums.on_target;
  }
  return sums;
}

}  // namespace tools::lab
