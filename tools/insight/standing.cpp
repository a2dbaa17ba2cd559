#include "tools/insight/standing.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tools::insight {

namespace {

std::string signed_db(const figure& value) {
  return value ? fmt::format("{:+.2f} dB", *value) : "unknown";
}

std::string figures_text(const channel& of) {
  std::vector<std::string> told;
  if (of.target && of.measured) {
    told.push_back(fmt::format("{:.2f} dBm measured, {:.2f} dBm wanted, {}", *of.measured,
                               *of.target, signed_db(of.error)));
  }
  if (of.attenuation) told.push_back(fmt::format("attenuation {:.1f} dB", *of.attenuation));
  if (of.headroom_up && of.headroom_down) {
    told.push_back(fmt::format("{:.1f} dB more and {:.1f} dB less light possible", *of.headroom_up,
                               *of.headroom_down));
  }
  if (of.steps_last_hour)
    told.push_back(fmt::format("{:.0f} steps in the last hour", *of.steps_last_hour));
  return fmt::format("{}", fmt::join(told, "; "));
}

}  // namespace

std::string label(const channel& of) {
  return fmt::format("{} {}", thz_text(of.place.frequency), of.is_rx ? "rx" : "tx");
}

std::vector<std::string> channel_sentences(const node_insight& node, const channel_place& place) {
  std::vector<std::string> sentences;
  for (const auto& each : node.channels) {
    if (each.place.id != place.id) continue;
    sentences.push_back(fmt::format("{} ({}): {}.", label(each), each.state_text, each.why));
    if (const auto figures = figures_text(each); !figures.empty()) {
      sentences.push_back("  " + figures + ".");
    }
  }
  return sentences;
}

std::string rung_title() {
  return fmt::format("{:<10} {:>11} {:>11} {:>8}  {}", "", "expected", "measured", "off by",
                     "rests on");
}

std::string rung_text(const rung& of) {
  const auto told = [&](const figure& value) {
    return value ? fmt::format("{:.1f} {:<3}", *value, of.unit) : std::string("unknown");
  };
  return fmt::format("{:<10} {:>11} {:>11} {:>8}  {}{}", of.point, told(of.expected),
                     told(of.measured),
                     of.difference ? fmt::format("{:+.1f} dB", *of.difference) : "",
                     of.is_wrong ? "WRONG; " : "", of.basis);
}

std::vector<std::string> line_sentences(const node_insight& node) {
  const auto& line = node.of_line;
  std::vector<std::string> sentences{fmt::format("Line ({}): {}.", line.state_text, line.why)};
  if (line.headroom_up && line.headroom_down) {
    sentences.push_back(fmt::format("  The VOA can give {:.1f} dB more and {:.1f} dB less light.",
                                    *line.headroom_up, *line.headroom_down));
  }
  for (const auto& side : node.ladders) {
    if (!side.rungs.empty()) sentences.push_back("  " + side.side + " " + rung_title());
    for (const auto& each : side.rungs)
      sentences.push_back("  " + side.side + " " + rung_text(each));
  }
  return sentences;
}

}  // namespace tools::insight
