#include "tools/lab/summary_text.h"

#include <fmt/format.h>

#include <cmath>
#include <map>

namespace tools::lab {

namespace {

double seconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

/// The states that a user asks about if not everything is on target.
std::string others_text(const view& seen) {
  std::map<std::string, unsigned> others;
  for (const auto& row : seen.channels) {
    const bool told = row.is_lit() || row.of.state == states::channel_state::blocked;
    if (told && !row.is_on_target()) ++others[row.of.state_text];
  }
  std::string text;
  for (const auto& [state, count] : others)
    text += fmt::format(", {} {}", count, state);
  return text;
}

std::string worst_text(const view& seen) {
  const channel_row* worst = nullptr;
  for (const auto& row : seen.channels) {
    if (!row.is_lit() || !row.of.error) continue;
    if (worst == nullptr || std::abs(*row.of.error) > std::abs(*worst->of.error)) worst = &row;
  }
  if (worst == nullptr) return "";
  return fmt::format(", worst {:+.2f} dB at {} THz", *worst->of.error,
                     insight::thz_text(worst->of.place.frequency));
}

std::string channels_text(const view& seen) {
  const auto sums = count(seen);
  return fmt::format("{}/{} lit, {} on target{}{}", sums.lit, seen.channels.size(), sums.on_target,
                     others_text(seen), worst_text(seen));
}

std::string node_text(const view& seen) {
  std::string text;
  if (seen.booster_dbm) text += fmt::format(", booster {:.1f} dBm", *seen.booster_dbm);
  if (seen.voa_db) text += fmt::format(", VOA {:.1f} dB", *seen.voa_db);
  if (seen.peer != no_peer) text += ", peer " + seen.peer;
  return text;
}

}  // namespace

std::string status_line(const view& seen, std::chrono::milliseconds running) {
  return fmt::format("{:7.1f} s  {}, turn {}{}", seconds(running), channels_text(seen),
                     seen.node.turn.empty() ? "-" : seen.node.turn, node_text(seen));
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
