#include "tools/lab/summary_text.h"

#include <fmt/format.h>

#include <cmath>

namespace tools::lab {

namespace {

double seconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

unsigned in_state(const view& seen, channel_state state) {
  unsigned found = 0;
  for (const auto& row : seen.channels)
    found += row.state == state ? 1U : 0U;
  return found;
}

/// The states that a user asks about when not everything is on target.
std::string others_text(const view& seen) {
  std::string text;
  for (const auto state : {channel_state::settling, channel_state::resting_off_target,
                           channel_state::exhausted, channel_state::blocked}) {
    const auto found = in_state(seen, state);
    if (found > 0) text += fmt::format(", {} {}", found, name_of(state));
  }
  return text;
}

std::string worst_text(const view& seen) {
  const channel_row* worst = nullptr;
  for (const auto& row : seen.channels) {
    if (row.error == 0.0F) continue;
    if (worst == nullptr || std::abs(row.error) > std::abs(worst->error)) worst = &row;
  }
  if (worst == nullptr) return "";
  return fmt::format(", worst {:+.2f} dB at {:.3f} THz", worst->error, worst->frequency_thz);
}

std::string channels_text(const view& seen) {
  const auto sums = count(seen);
  return fmt::format("{}/{} lit, {} on target{}{}", sums.lit, seen.channels.size(), sums.on_target,
                     others_text(seen), worst_text(seen));
}

std::string node_text(const view& seen) {
  std::string text;
  if (seen.booster.out_dbm) text += fmt::format(", booster {:.1f} dBm", *seen.booster.out_dbm);
  if (seen.voa_db) text += fmt::format(", VOA {:.1f} dB", *seen.voa_db);
  if (seen.peer != no_peer) text += ", peer " + seen.peer;
  return text;
}

}  // namespace

std::string status_line(const view& seen, std::chrono::milliseconds running) {
  return fmt::format("{:7.1f} s  {}, turn {}{}", seconds(running), channels_text(seen),
                     seen.loops.turn, node_text(seen));
}

std::string verdict_text(const view& seen, const convergence& verdict, bool converged,
                         std::chrono::milliseconds running) {
  if (!converged) {
    auto text =
        fmt::format("not converged after {:.1f} s: {}", seconds(running), channels_text(seen));
    for (const auto& reason : verdict.reasons(seen))
      text += "\n  " + reason;
    return text;
  }
  const auto truth = worst_truth_difference(seen);
  return fmt::format("converged after {:.1f} s: {}{}{}", seconds(running), channels_text(seen),
                     truth ? fmt::format(", readings within {:.2f} dB of the truth", *truth) : "",
                     node_text(seen));
}

}  // namespace tools::lab
