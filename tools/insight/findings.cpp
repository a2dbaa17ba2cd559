#include "tools/insight/findings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

#include "tools/insight/finding_rules.h"

namespace tools::insight {

namespace {

constexpr std::array cause_names{"startFailed",
                                 "notConfigured",
                                 "regulationStopped",
                                 "deviceSilent",
                                 "fibreCut",
                                 "linkDown",
                                 "peerLost",
                                 "peerUnreadable",
                                 "peerStandsStill",
                                 "lineDevice",
                                 "calibration",
                                 "lightPath",
                                 "farPreampSaturated",
                                 "amplifierSaturated",
                                 "channelDark",
                                 "channelExhausted",
                                 "lineExhausted",
                                 "channelUnreadable",
                                 "loopDown",
                                 "hunting",
                                 "peerUnknown",
                                 "noPeer",
                                 "guard",
                                 "underWay"};
static_assert(cause_names.size() == static_cast<std::size_t>(cause::under_way) + 1);

/// The channels of one side together, as they hunt for one reason: "192.30, 192.45 rx".
void add_hunting_channels(const node_insight& node, const std::string& side,
                          std::vector<finding>& found) {
  std::vector<std::string> names;
  for (const auto& each : node.hunting) {
    if (each.ends_with(side)) names.push_back(each.substr(0, each.size() - side.size()));
  }
  if (names.empty()) return;
  const auto on = some_of(names, names.size()) + side;
  const char* what = names.size() == 1 ? "hunts: it steps" : "hunt: they step";
  found.push_back({cause::hunting, on, fmt::format("{} {} back and forth", on, what), "",
                   "Check the monitor's noise and what moves the light.", ""});
}

void add_hunting(const node_insight& node, std::vector<finding>& found) {
  for (const auto& each : node.hunting) {
    if (each != "line") continue;
    if (node.far_preamp_at_limit) {
      std::erase_if(found,
                    [](const finding& told) { return told.of == cause::far_preamp_saturated; });
      found.push_back({cause::far_preamp_saturated, "line",
                       "The far preamp is at its limit: the line closes its VOA for it, and opens "
                       "it again for the channels, which want more",
                       "The line hunts by half a decibel.",
                       "Check the far preamp's power limit and the target of the line.", ""});
      continue;
    }
    found.push_back({cause::hunting, each, "The line hunts: it steps back and forth", "",
                     "Check the noise of the far monitor and what moves the light.", ""});
  }
  add_hunting_channels(node, " rx", found);
  add_hunting_channels(node, " tx", found);
}

}  // namespace

const event* open_event(const node_insight& node, const std::string& on,
                        std::initializer_list<std::string_view> begins,
                        std::initializer_list<std::string_view> ends) {
  const event* open = nullptr;
  for (const auto& each : node.events) {
    if (each.on != on) continue;
    if (std::find(begins.begin(), begins.end(), each.kind) != begins.end()) open = &each;
    if (std::find(ends.begin(), ends.end(), each.kind) != ends.end()) open = nullptr;
  }
  return open;
}

std::string time_of(const event* what) {
  return what == nullptr ? "" : what->time;
}

std::string detail(const event& what, const char* name) {
  const auto found = what.details.find(name);
  return found == what.details.end() ? "" : without_folders(found->second);
}

bool is_found(const std::vector<finding>& found, cause of) {
  return std::any_of(found.begin(), found.end(), [of](const auto& each) { return each.of == of; });
}

std::string some_of(const std::vector<std::string>& names, std::size_t all) {
  constexpr std::size_t named_at_most = 4;
  const auto shown = std::min(names.size(), named_at_most);
  const auto end = names.begin() + static_cast<std::ptrdiff_t>(shown);
  const auto more = all - std::min(all, shown);
  return fmt::format("{}{}", fmt::join(names.begin(), end, ", "),
                     more > 0 ? fmt::format(" and {} more", more) : "");
}

const char* name_of(cause of) {
  return cause_names.at(static_cast<std::size_t>(of));
}

std::vector<finding> findings_of(const node_insight& node) {
  std::vector<finding> found;
  add_node_causes(node, found);
  add_devices(node, found);
  add_amplifiers(node, found);
  add_line(node, found);
  add_compensator(node, found);
  add_peer_gaps(node, found);
  add_ladders(node, found);
  add_channels(node, found);
  add_loops(node, found);
  add_panel(node, found);
  add_hunting(node, found);
  add_guards(node, found);
  std::stable_sort(found.begin(), found.end(),
                   [](const finding& one, const finding& other) { return one.of < other.of; });
  return found;
}

bool needs_person(const std::vector<finding>& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const finding& each) { return each.needs_person(); });
}

}  // namespace tools::insight
