#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "tools/insight/finding_rules.h"
#include "tools/insight/standing.h"

namespace tools::insight {

namespace {

using states::channel_state;
using states::line_state;

struct line_row {
  line_state state;
  cause of;
  const char* head;  ///< before the daemon's own sentence
  const char* event;
};

// clang-format off
constexpr std::array line_rows{
    line_row{line_state::no_fibre, cause::fibre_cut, "The fibre is cut or unplugged", "cut"},
    line_row{line_state::no_supervisory_link, cause::link_down, "The supervisory link is down", "stalled"},
    line_row{line_state::no_peer, cause::no_peer, "There is no peer, so the line is not regulated", "stalled"},
    line_row{line_state::peer_not_known, cause::peer_unknown, "The peer is not known, so the line is not regulated", "stalled"},
    line_row{line_state::peer_stands_still, cause::peer_stands_still, "The peer's readings do not change", "stalled"},
    line_row{line_state::exhausted, cause::line_exhausted, "The line is at the end of its range", "exhausted"},
    line_row{line_state::far_preamp_saturated, cause::far_preamp_saturated, "The far preamp is saturated", "stalled"},
    line_row{line_state::device_failed, cause::line_device, "A device of the line fails", ""},
};
// clang-format on

/// When the line came into this state; empty while that has not been told.
std::string began(const node_insight& node, const line_row& row) {
  // A stall outlasts a short cut: its own end is told.
  const char* end = row.of == cause::fibre_cut ? "mended" : "resumed";
  const auto* event = open_event(node, "line", {row.event}, {end});
  if (event == nullptr) return "";
  const auto state = detail(*event, "state");
  if (!state.empty() && state != node.of_line.state_text) return "";
  // It is told once it has lasted for a moment.
  const auto since = detail(*event, "since");
  return since.empty() ? event->time : since;
}

/// A device that answers, and has nothing to tell of it.
bool is_dark(const node_insight& node, const char* device, const char* figure) {
  return std::any_of(node.devices.begin(), node.devices.end(), [&](const auto& each) {
    return each.name == device && each.alive == true &&
           std::none_of(each.values.begin(), each.values.end(),
                        [&](const auto& value) { return value.first == figure; });
  });
}

/// A line that is down for another reason does not see its fibre; its instruments still do.
void add_unseen_cut(const node_insight& node, std::vector<finding>& found) {
  const bool any_arrives = std::any_of(
      node.channels.begin(), node.channels.end(),
      [](const auto& of) { return !of.is_rx && of.state && *of.state != channel_state::dark; });
  if (node.of_line.state != line_state::device_failed || any_arrives ||
      !is_dark(node, "sfp", "inputPower")) {
    return;
  }
  found.push_back({cause::fibre_cut, "line",
                   "The fibre is cut or unplugged: neither channels nor supervisory light come in",
                   "The line loop closes it when its device is back.", "Mend the fibre.", ""});
}

std::string frequencies_of(const node_insight& node, const std::vector<unsigned>& ids) {
  std::vector<std::string> names;
  for (const auto& place : places_of(node)) {
    const bool meant = std::find(ids.begin(), ids.end(), place.id) != ids.end();
    if (meant) names.push_back(thz_text(place.frequency));
  }
  return some_of(names, ids.size());
}

/// "the span loses 3.0 dB more" of "in the fibre that goes out: the span loses 3.0 dB more".
std::string without_place(const std::string& why) {
  const auto colon = why.find(": ");
  return colon == why.npos ? why : why.substr(colon + 2);
}

/// What has taken the supervisory channel may be told by the ladder: then it is no fault of its
/// optics.
bool explain_link(const ladder& side, std::vector<finding>& found) {
  const auto link = std::find_if(found.begin(), found.end(),
                                 [](const finding& each) { return each.of == cause::link_down; });
  if (link == found.end() || side.fault != "span") return false;
  link->sentence =
      fmt::format("The fibre that {} is bad, and the supervisory link is down: {}",
                  side.side == "rx" ? "goes out" : "comes in", without_place(side.why));
  link->remedy = "Inspect the fibre, its splices and connectors.";
  return true;
}

finding ladder_finding(const node_insight& node, const ladder& side, const rung& wrong) {
  if (side.fault == "monitor") {
    return {cause::calibration,
            side.side + " " + wrong.point,
            fmt::format("Calibration and monitor do not match ({}): {}", side.side, side.why),
            "",
            "Compare the calibration file with the board, and the monitor with a meter.",
            ""};
  }
  if (!wrong.wrong_channels.empty()) {
    const auto names = frequencies_of(node, wrong.wrong_channels);
    return {cause::light_path,
            names + " " + side.side,
            fmt::format("The light of {} is off: {}", names, side.why),
            "",
            "Check the client, its patch cord and its port.",
            ""};
  }
  if (side.fault == "dark" && wrong.unit == "dB") {
    return {cause::fibre_cut,
            side.side + " " + wrong.point,
            fmt::format("The fibre that {} is cut or unplugged: {}",
                        side.side == "rx" ? "goes out" : "comes in", without_place(side.why)),
            "",
            "Mend the fibre.",
            ""};
  }
  return {cause::light_path,
          side.side + " " + wrong.point,
          fmt::format("The light that {} is off: {}", side.side == "rx" ? "goes out" : "comes in",
                      side.why),
          "",
          "Inspect and clean what lies there; the ladder shows each point.",
          ""};
}

}  // namespace

void add_line(const node_insight& node, std::vector<finding>& found) {
  add_unseen_cut(node, found);
  const auto state = node.of_line.state;
  const auto row = std::find_if(line_rows.begin(), line_rows.end(),
                                [&](const line_row& each) { return each.state == state; });
  if (row == line_rows.end()) {
    if (state && states::row_of(*state).how == states::severity::working) {
      found.push_back({cause::under_way, "line",
                       fmt::format("The line is being adjusted ({}): {}", node.of_line.state_text,
                                   node.of_line.why),
                       "", "", ""});
    }
    return;
  }
  if (row->of == cause::line_device && is_found(found, cause::device_silent)) return;
  finding line{row->of, "line", fmt::format("{}: {}", row->head, node.of_line.why), "", "", ""};
  line.since = began(node, *row);
  const auto* lost = open_event(node, "peer", {"peerLost"}, {"peerIdentified"});
  if (lost != nullptr && row->of == cause::no_peer) {
    line.of = cause::peer_lost;
    line.since = lost->time;
    line.sentence =
        fmt::format("The peer {} is lost: {}", detail(*lost, "product"), node.of_line.why);
  }
  found.push_back(std::move(line));
}

void add_peer_gaps(const node_insight& node, std::vector<finding>& found) {
  for (const auto& gap : node.peer_gaps) {
    found.push_back({cause::peer_unreadable, "peer",
                     fmt::format("The peer {} cannot read its {}: {} {} in error on its tree",
                                 node.peer, gap.part, some_of(gap.values, gap.values.size()),
                                 gap.values.size() == 1 ? "is" : "are"),
                     capital(gap.meanwhile) + ".",
                     "Look at the far node: lumoractl explain tells there what fails.", gap.since});
  }
}

void add_ladders(const node_insight& node, std::vector<finding>& found) {
  for (const auto& side : node.ladders) {
    const auto wrong = std::find_if(side.rungs.begin(), side.rungs.end(),
                                    [](const rung& each) { return each.is_wrong; });
    if (wrong == side.rungs.end() || explain_link(side, found)) continue;
    auto finding = ladder_finding(node, side, *wrong);
    // A line that has closed has told of its fibre.
    if (finding.of == cause::fibre_cut && is_found(found, cause::fibre_cut)) continue;
    found.push_back(std::move(finding));
  }
}

}  // namespace tools::insight
