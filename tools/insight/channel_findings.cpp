#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <utility>

#include "tools/insight/finding_rules.h"
#include "tools/insight/standing.h"

namespace tools::insight {

namespace {

using states::channel_state;
using states::line_state;

std::string event_subject(const channel& of) {
  return fmt::format("client {} {}", of.is_rx ? "rx" : "tx", of.place.id);
}

/// "192.30, 192.45 and 3 more rx".
std::string names_of(const std::vector<const channel*>& channels) {
  std::vector<std::string> names;
  names.reserve(channels.size());
  for (const auto* each : channels)
    names.push_back(thz_text(each->place.frequency));
  return some_of(names, names.size()) + (channels.front()->is_rx ? " rx" : " tx");
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

/// "client rx 19230000"; "client rx calibration" is not.
bool is_channel(const std::string& subject) {
  return subject.starts_with("client ") &&
         std::isdigit(static_cast<unsigned char>(subject.back())) != 0;
}

/// The same for the same value of all channels.
std::string without_digits(std::string on) {
  std::erase_if(on, [](unsigned char letter) { return std::isdigit(letter) != 0; });
  return on;
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

/// The way from the far end is bad: its channels have done nothing.
bool is_lost_on_the_way(const node_insight& node, cause of, const channel& first) {
  if (of != cause::channel_dark || first.is_rx) return false;
  return std::any_of(node.ladders.begin(), node.ladders.end(), [](const ladder& each) {
    return each.side == "tx" &&
           (each.fault == "dark" || each.fault == "span" || each.fault == "connector");
  });
}

/// Of channels of this side that are there, as opposed to blocked ones.
bool are_all(const std::vector<const channel*>& channels, const node_insight& node) {
  constexpr std::size_t more_than_chance = 4;
  const bool is_rx = channels.front()->is_rx;
  const auto others =
      std::count_if(node.channels.begin(), node.channels.end(), [&](const auto& of) {
        return of.is_rx == is_rx && of.state && *of.state != channel_state::dark &&
               *of.state != channel_state::blocked;
      });
  return channels.size() >= more_than_chance && others == 0;
}

}  // namespace

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
    auto words = words_of(key.first, first.is_rx);
    if (key.first == cause::channel_dark && first.is_rx && are_all(channels, node)) {
      words.many = "are dark, which is all of them: their lasers, or what they share";
      words.remedy =
          "Check the clients. If they send, look at switch and booster, and between them.";
    }
    const bool alone = channels.size() == 1;
    const bool is_innocent = is_lost_on_the_way(node, key.first, first);
    const auto* began =
        open_event(node, event_subject(first), {"dark", "exhausted"}, {"lit", "arrived"});
    found.push_back({key.first, alone ? label(first) : names_of(channels),
                     alone ? fmt::format("{} {}: {}", label(first), words.one, first.why)
                           : fmt::format("{} {}; {}: {}", names_of(channels), words.many,
                                         thz_text(first.place.frequency), first.why),
                     "", is_innocent ? "" : words.remedy, time_of(began)});
  }
}

void add_guards(const node_insight& node, std::vector<finding>& found) {
  using guard_and_side = std::pair<std::string, bool>;
  std::map<guard_and_side, std::vector<const channel*>> channels;
  std::map<guard_and_side, const active_guard*> firsts;
  std::map<std::pair<std::string, std::string>, unsigned> alike;
  for (const auto& each : node.guards)
    ++alike[{each.name, without_digits(each.on)}];
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
    const bool is_of_device = each.on == "line" &&
                              node.of_line.state == line_state::device_failed &&
                              is_found(found, cause::device_silent);
    const bool is_told =
        is_of_device || std::any_of(found.begin(), found.end(), [&](const finding& other) {
          return other.needs_person() && other.on == each.on;
        });
    const auto count = std::exchange(alike[{each.name, without_digits(each.on)}], 0);
    const auto more = count > 1 ? fmt::format(" and {} more like it", count - 1) : "";
    if (!is_told && count > 0) add(each, each.on + more);
  }
  for (const auto& [key, on] : channels)
    add(*firsts.at(key), names_of(on));
}

}  // namespace tools::insight
