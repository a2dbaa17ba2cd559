#include "tools/insight/findings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>

#include "tools/insight/line_findings.h"
#include "tools/insight/open_event.h"
#include "tools/insight/standing.h"

namespace tools::insight {

namespace {

using states::channel_state;
using states::line_state;

constexpr std::array cause_names{"startFailed",
                                 "notConfigured",
                                 "regulationStopped",
                                 "deviceSilent",
                                 "fibreCut",
                                 "linkDown",
                                 "peerLost",
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

// Beyond this number, the rest are counted, not named.
constexpr std::size_t named_at_most = 4;

std::string event_subject(const channel& of) {
  return fmt::format("client {} {}", of.is_rx ? "rx" : "tx", of.place.id);
}

void add_node_causes(const node_insight& node, std::vector<finding>& found) {
  for (const auto& each : node.start)
    found.push_back({cause::start_failed, "node", each, "", "", ""});
  const auto* failed = open_event(node, "", {"startFailed"}, {"loopUp"});
  // A fault that prevented the start is over once the node reports about itself.
  if (failed != nullptr && !node.tells_of_itself && node.start.empty()) {
    found.push_back({cause::start_failed, failed->on,
                     fmt::format("The node cannot start: {}", detail(*failed, "reason")),
                     "It tries again once a second.", detail(*failed, "remedy"), failed->time});
  }
  if (failed == nullptr && !node.tells_of_itself && node.start.empty()) {
    found.push_back({cause::start_failed, "node",
                     "The daemon is still starting, or waits for what it needs to start", "",
                     "Check its log: it says what it is waiting for.", ""});
  }
  if (!node.is_configured && node.tells_of_itself) {
    found.push_back({cause::not_configured, "node",
                     "Nothing is regulated: the node waits for its configuration", "",
                     "Write its parameters, then set config/redisConfigStatus to true.", ""});
  }
  if (node.automation_mode == "bright" || node.automation_mode == "dark") {
    found.push_back(
        {cause::regulation_stopped, "node",
         fmt::format("Nothing is regulated: the automation mode is {}", node.automation_mode), "",
         "Set config/automationMode to embedded, managedCLI or managedNetconf.", ""});
  }
}

/// The end of the path of its socket.
std::string service_of(const std::string& device) {
  constexpr std::array<std::pair<std::string_view, const char*>, 6> names{{{"voa", "voa_sfp"},
                                                                           {"osc", "osc1"},
                                                                           {"sfp", "sfp/0"},
                                                                           {"switch", "wss_edge"},
                                                                           {"twinSwitch", "wss"},
                                                                           {"monitor", "ocm"}}};
  const auto* found = std::find_if(names.begin(), names.end(),
                                   [&](const auto& each) { return each.first == device; });
  return found == names.end() ? device : found->second;
}

std::string loops_text(const node_insight& node, const std::string& service) {
  std::vector<std::string> loops;
  for (const char* loop : {"line", "client rx", "client tx"}) {
    const auto* down = open_event(node, loop, {"loopDown"}, {"loopUp"});
    if (down != nullptr && detail(*down, "reason").find(service) != std::string::npos)
      loops.emplace_back(loop);
  }
  if (loops.empty()) return "It is taken up again by itself.";
  return fmt::format("Down until it answers: {}. It is taken up again by itself.",
                     fmt::join(loops, ", "));
}

void add_devices(const node_insight& node, std::vector<finding>& found) {
  for (const auto& each : node.devices) {
    // A device that has never been asked is neither silent nor alive.
    if (each.alive != false || !each.age) continue;
    found.push_back({cause::device_silent, each.name,
                     fmt::format("The {} has not answered for {:.0f} s", each.name, *each.age),
                     loops_text(node, service_of(each.name)),
                     fmt::format("Look at its service, {}, and restart it.", service_of(each.name)),
                     ""});
  }
}

std::string frequencies_of(const node_insight& node, const std::vector<unsigned>& ids) {
  std::vector<std::string> names;
  for (const auto& place : places_of(node)) {
    const bool meant = std::find(ids.begin(), ids.end(), place.id) != ids.end();
    if (meant && names.size() < named_at_most) names.push_back(thz_text(place.frequency));
  }
  const auto more = ids.size() - std::min(ids.size(), names.size());
  return fmt::format("{}{}", fmt::join(names, ", "),
                     more > 0 ? fmt::format(" and {} more", more) : "");
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
  return {cause::light_path,
          side.side + " " + wrong.point,
          fmt::format("The light that {} is off: {}", side.side == "rx" ? "goes out" : "comes in",
                      side.why),
          "",
          "Inspect and clean what lies there; the ladder shows each point.",
          ""};
}

void add_ladders(const node_insight& node, std::vector<finding>& found) {
  for (const auto& side : node.ladders) {
    const auto wrong = std::find_if(side.rungs.begin(), side.rungs.end(),
                                    [](const rung& each) { return each.is_wrong; });
    if (wrong == side.rungs.end()) continue;
    found.push_back(ladder_finding(node, side, *wrong));
  }
}

/// "192.30, 192.45 and 3 more rx".
std::string names_of(const std::vector<const channel*>& channels) {
  std::vector<std::string> shown;
  for (const auto* each : channels) {
    if (shown.size() == named_at_most) break;
    shown.push_back(thz_text(each->place.frequency));
  }
  const auto more = channels.size() - shown.size();
  return fmt::format("{}{} {}", fmt::join(shown, ", "),
                     more > 0 ? fmt::format(" and {} more", more) : "",
                     channels.front()->is_rx ? "rx" : "tx");
}

/// The amplifiers are switched on with the mended fibre, and the monitor sees the light a pass
/// later.
bool is_light_returning(const node_insight& node) {
  constexpr long usual_return = 5;  // s
  const auto* mended = open_event(node, "line", {"mended"}, {"cut"});
  const auto since = mended ? seconds_of(mended->time) : std::nullopt;
  return node.now && since && *node.now - *since < usual_return;
}

std::optional<cause> cause_of(const node_insight& node, const channel& of, bool is_cut) {
  if (!of.state) return std::nullopt;
  switch (*of.state) {
    case channel_state::too_weak:
    case channel_state::too_strong:
      return cause::channel_exhausted;
    case channel_state::amplifier_saturated:
      return cause::amplifier_saturated;
    case channel_state::device_failed:
    case channel_state::loop_down:
      return cause::loop_down;
    case channel_state::reading_unknown:
      return cause::channel_unreadable;
    case channel_state::dark: {
      // Without a fibre the amplifiers are off, and everything after them is dark.
      if (node.of_line.state == line_state::no_fibre || (is_cut && !of.is_rx)) return std::nullopt;
      if (is_light_returning(node)) return cause::under_way;
      const bool is_missed = of.has_been_lit || of.is_wanted ||
                             open_event(node, event_subject(of), {"dark"}, {"lit"}) != nullptr;
      return is_missed ? std::make_optional(cause::channel_dark) : std::nullopt;
    }
    default:
      return states::row_of(*of.state).how == states::severity::working
                 ? std::make_optional(cause::under_way)
                 : std::nullopt;
  }
}

struct channel_words {
  const char* one;   ///< before the daemon's sentence, after the channel
  const char* many;  ///< for several together
  const char* remedy;
};

channel_words words_of(cause of, bool is_rx) {
  switch (of) {
    case cause::channel_dark:
      return is_rx ? channel_words{"is dark, its laser off, off its frequency or unplugged",
                                   "are dark, their lasers off, off their frequencies or unplugged",
                                   "Check the client: its laser, its frequency, its patch cord."}
                   : channel_words{"does not arrive from the line", "do not arrive from the line",
                                   "Check the channel at the far node."};
    case cause::channel_exhausted:
      return {"cannot reach its target", "cannot reach their targets",
              "Check the power of the client, or change the channel's target."};
    case cause::amplifier_saturated:
      return {"gets no more light: the amplifier is saturated",
              "get no more light: the amplifier is saturated",
              "Check the amplifier, or reduce the power of other channels."};
    case cause::loop_down:
      return {"is not regulated", "are not regulated", ""};
    case cause::channel_unreadable:
      return {"cannot be judged", "cannot be judged", "Check monitor and switch."};
    default:
      return {"is on its way", "are on their way", ""};
  }
}

void add_channels(const node_insight& node, std::vector<finding>& found) {
  std::map<std::pair<cause, bool>, std::vector<const channel*>> groups;
  for (const auto& each : node.channels) {
    const auto of = cause_of(node, each, is_found(found, cause::fibre_cut));
    // The device has already been reported, and so has its loop.
    const bool is_told = of == cause::loop_down && is_found(found, cause::device_silent);
    if (of && !is_told) groups[{*of, !each.is_rx}].push_back(&each);
  }
  for (const auto& [key, channels] : groups) {
    const auto& first = *channels.front();
    const auto words = words_of(key.first, first.is_rx);
    const bool alone = channels.size() == 1;
    const auto* began =
        open_event(node, event_subject(first), {"dark", "exhausted"}, {"lit", "arrived"});
    found.push_back({key.first, alone ? label(first) : names_of(channels),
                     alone ? fmt::format("{} {}: {}", label(first), words.one, first.why)
                           : fmt::format("{} {}; {}: {}", names_of(channels), words.many,
                                         thz_text(first.place.frequency), first.why),
                     "", words.remedy, time_of(began)});
  }
}

/// Whether one of the devices that are silent is why.
bool is_of_silent_device(const std::string& reason, const std::vector<finding>& found) {
  return std::any_of(found.begin(), found.end(), [&](const finding& each) {
    return each.of == cause::device_silent && reason.find(service_of(each.on)) != std::string::npos;
  });
}

void add_panel(const node_insight& node, std::vector<finding>& found) {
  const auto* down = open_event(node, "panel", {"loopDown"}, {"loopUp"});
  if (down == nullptr) return;
  found.push_back({cause::loop_down, "panel",
                   fmt::format("The front panel does not answer: {}", detail(*down, "reason")),
                   "Its lights stay as they are; the light in the fibre does not depend on them.",
                   "Look at its service, and restart it.", down->time});
}

void add_loops(const node_insight& node, std::vector<finding>& found) {
  for (const char* loop : {"line", "client rx", "client tx"}) {
    const auto* down = open_event(node, loop, {"loopDown"}, {"loopUp"});
    if (down == nullptr || is_of_silent_device(detail(*down, "reason"), found)) continue;
    found.push_back({cause::loop_down, loop,
                     fmt::format("The {} loop is down: {}", loop, detail(*down, "reason")),
                     "It is set up again every second.", "", down->time});
  }
}

/// "client rx 19230000"; "client rx calibration" is not.
bool is_channel(const std::string& subject) {
  return subject.starts_with("client ") &&
         std::isdigit(static_cast<unsigned char>(subject.back())) != 0;
}

const channel* channel_on(const node_insight& node, const std::string& subject) {
  const auto at = std::find_if(node.channels.begin(), node.channels.end(),
                               [&](const auto& each) { return event_subject(each) == subject; });
  return at == node.channels.end() ? nullptr : &*at;
}

/// A channel that steps or is in trouble gives the guard's reason as its own.
bool tells_its_guard(const channel& of) {
  if (!of.state) return false;
  const auto how = states::row_of(*of.state).how;
  return how == states::severity::working || how == states::severity::person;
}

void add_guards(const node_insight& node, std::vector<finding>& found) {
  using guard_and_side = std::pair<std::string, bool>;
  std::map<guard_and_side, std::vector<const channel*>> channels;
  std::map<guard_and_side, const active_guard*> firsts;
  const auto add = [&](const active_guard& of, const std::string& on) {
    found.push_back({cause::guard, on,
                     fmt::format("Guard {} is active on {}: {}", of.name, on, of.reason), "", "",
                     of.since});
  };
  for (const auto& each : node.guards) {
    if (is_channel(each.on)) {
      const auto* of = channel_on(node, each.on);
      if (of == nullptr || tells_its_guard(*of)) continue;
      channels[{each.name, !of->is_rx}].push_back(of);
      firsts.try_emplace({each.name, !of->is_rx}, &each);
      continue;
    }
    // What withholds a write because of something that is told already.
    const bool is_told = std::any_of(found.begin(), found.end(), [&](const finding& other) {
      return other.needs_person() && other.on == each.on;
    });
    if (!is_told) add(each, each.on);
  }
  for (const auto& [key, on] : channels)
    add(*firsts.at(key), names_of(on));
}

void add_rest(const node_insight& node, std::vector<finding>& found) {
  for (const auto& each : node.hunting) {
    found.push_back({cause::hunting, each, fmt::format("{} hunts: it steps back and forth", each),
                     "", "Check the monitor's noise and what moves the light.", ""});
  }
  add_guards(node, found);
}

}  // namespace

const char* name_of(cause of) {
  return cause_names.at(static_cast<std::size_t>(of));
}

std::vector<finding> findings_of(const node_insight& node) {
  std::vector<finding> found;
  add_node_causes(node, found);
  add_devices(node, found);
  add_line(node, found);
  add_ladders(node, found);
  add_channels(node, found);
  add_loops(node, found);
  add_panel(node, found);
  add_rest(node, found);
  std::stable_sort(found.begin(), found.end(),
                   [](const finding& one, const finding& other) { return one.of < other.of; });
  return found;
}

bool needs_person(const std::vector<finding>& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const finding& each) { return each.needs_person(); });
}

}  // namespace tools::insight
