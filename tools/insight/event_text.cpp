#include "tools/insight/event_text.h"

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <set>

#include "platform/wire/json.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/shown_text.h"
#include "tools/insight/node_insight.h"

namespace tools::insight {

namespace {

// One cause affects many channels within a few cycles.
constexpr long together_seconds = 10;

constexpr std::string_view client = "client ";

std::optional<nx::json_document> parsed(const std::string& json) {
  try {
    return nx::parse_json(json);
  } catch (const nx_error&) {
    return std::nullopt;
  }
}

std::string detail_of(const event& what, const char* name) {
  const auto found = what.details.find(name);
  return found == what.details.end() ? "" : found->second;
}

/// " after 3.1 s", if the event says so.
std::string after(const event& what) {
  const auto seconds = detail_of(what, "seconds");
  return seconds.empty() ? ""
                         : fmt::format(" after {:.1f} s", std::strtod(seconds.c_str(), nullptr));
}

std::string behind(const char* before, const std::string& text) {
  return text.empty() ? "" : before + text;
}

std::string other_details(const event& what) {
  std::string text = what.kind;
  for (const auto& [name, value] : what.details)
    text += fmt::format(" {}={}", name, value);
  return text;
}

std::string steps_text(const event& what) {
  const auto steps = detail_of(what, "steps");
  if (steps.empty()) return "";
  return fmt::format(" in {} step{}", steps, steps == "1" ? "" : "s");
}

std::string guard_end_text(const event& what) {
  const auto withheld = detail_of(what, "withheld");
  return fmt::format("guard {} ends{}{}", detail_of(what, "guard"), after(what),
                     withheld.empty() ? "" : fmt::format(", {} writes withheld", withheld));
}

/// ", 2.7 dB too weak"
std::string exhaustion_text(const event& what) {
  const auto error = detail_of(what, "error");
  const auto reason = detail_of(what, "reason");
  if (!reason.empty()) return ": " + reason;
  if (error.empty() || error == "null") return "";
  const double by = std::strtod(error.c_str(), nullptr);
  return fmt::format(", {:.1f} dB too {}", std::fabs(by), by > 0 ? "strong" : "weak");
}

/// "written: 4.5", "written 30 times until 12:00:09, at last: 4.5"
std::string write_text(const event& what) {
  constexpr std::size_t date = 11;
  constexpr std::size_t clock = 8;
  const auto writes = detail_of(what, "writes");
  const auto until = detail_of(what, "until");
  const auto value = detail_of(what, "value");
  if (writes.empty() || until.size() < date) return "written" + behind(": ", value);
  return fmt::format("written {} times until {}, at last{}", writes, until.substr(date, clock),
                     behind(": ", value));
}

/// Of a part of the peer: "its preamp cannot be read: ...".
std::string part_text(const event& what) {
  const auto part = "its " + detail_of(what, "part");
  if (what.kind == "resumed") return part + " can be read" + after(what);
  return part + " cannot be read" + behind(": ", detail_of(what, "reason"));
}

/// What happened, without the subject.
std::string text_of(const event& what) {
  const auto& kind = what.kind;
  const auto reason = behind(": ", detail_of(what, "reason"));
  if (what.details.count("part") > 0) return part_text(what);
  if (kind == "lit") return "has light";
  if (kind == "dark") return "has gone dark";
  if (kind == "arrived") return "is on target" + after(what) + steps_text(what);
  if (kind == "stalled") return "is not regulated" + reason;
  if (kind == "resumed") return "is regulated again" + after(what);
  if (kind == "exhausted") return "is exhausted" + exhaustion_text(what);
  if (kind == "guardBegan") return "guard " + detail_of(what, "guard") + " begins" + reason;
  if (kind == "guardEnded") return guard_end_text(what);
  if (kind == "loopDown") return "loop down" + reason;
  if (kind == "loopUp") return "loop up again" + after(what);
  if (kind == "cut") return "the fibre is cut";
  if (kind == "mended") return "the fibre is mended";
  if (kind == "peerIdentified") return "identified as " + detail_of(what, "product");
  if (kind == "peerLost") return "lost" + behind(", it was ", detail_of(what, "product"));
  if (kind == "channelAdded") return "added";
  if (kind == "channelRemoved") return "removed";
  if (kind == "parameterWritten") return write_text(what);
  if (kind == "startFailed") return "start fails" + reason;
  return other_details(what);
}

/// "rx" or "tx" of a channel's event; otherwise empty.
std::string side_of(const std::string& on) {
  if (!on.starts_with(client)) return "";
  const auto end = on.find(' ', client.size());
  return end == on.npos ? "" : on.substr(client.size(), end - client.size());
}

/// What the events of several channels have in common: "rx", "peer's rx/power"; otherwise empty.
std::string family_of(const std::string& on) {
  constexpr std::string_view of_peer = "peer data/client/";
  if (!on.starts_with(of_peer)) return side_of(on);
  const auto end = on.find_first_not_of("0123456789", of_peer.size());
  const bool has_channel = end != on.npos && end > of_peer.size() && on[end] == '/';
  return has_channel ? "peer's " + on.substr(end + 1) : "";
}

struct group {
  const event* first;
  std::string key;
  long newest = 0;
  std::set<std::string> subjects = {};
  unsigned count = 0;
};

std::string key_of(const event& what) {
  const auto family = family_of(what.on);
  const auto name = what.kind + '\n' + detail_of(what, "guard");
  return family.empty() ? name + '\n' + what.on + '\n' + text_of(what) : name + '\n' + family;
}

std::vector<group> grouped(const std::vector<event>& events) {
  std::vector<group> groups;
  for (const auto& each : events) {
    const auto key = key_of(each);
    const long time = seconds_of(each.time).value_or(0);
    auto found = std::find_if(groups.rbegin(), groups.rend(), [&](const group& open) {
      return open.key == key && time - open.newest <= together_seconds;
    });
    if (found == groups.rend()) {
      groups.push_back({&each, key});
      found = groups.rbegin();
    }
    found->newest = time;
    found->subjects.insert(each.on);
    ++found->count;
  }
  return groups;
}

std::string shown_time(const std::string& time) {
  constexpr std::size_t to_seconds = 19;
  auto text = time.substr(0, to_seconds);
  if (const auto separator = text.find('T'); separator != text.npos) text[separator] = ' ';
  return nx::shown_text(text);
}

/// "32 channels rx", "32 channels peer's rx/power", "192.30 rx", "line".
std::string subjects_text(const group& of, const std::vector<channel_place>& known) {
  if (of.subjects.size() == 1) return subject_text(of.first->on, known);
  return fmt::format("{} channels {}", of.subjects.size(), nx::shown_text(family_of(of.first->on)));
}

std::string what_text(const group& of) {
  if (of.subjects.size() == 1) {
    return text_of(*of.first) + (of.count > 1 ? fmt::format(", {} times", of.count) : "");
  }
  // Figures differ between the channels: only the words are shown.
  event bare = *of.first;
  bare.details.erase("seconds");
  bare.details.erase("steps");
  bare.details.erase("error");
  bare.details.erase("withheld");
  return text_of(bare);
}

}  // namespace

std::optional<event> event_of(const std::string& json) {
  const auto document = parsed(json);
  if (!document || !document->IsObject()) return std::nullopt;
  event found;
  found.json = json;
  for (const auto& member : document->GetObject()) {
    const std::string name = member.name.GetString();
    const auto text =
        member.value.IsString() ? member.value.GetString() : nx::json_text(member.value);
    if (name == "time") {
      found.time = text;
    } else if (name == "event") {
      found.kind = text;
    } else if (name == "on") {
      found.on = text;
    } else {
      found.details[name] = text;
    }
  }
  return found.kind.empty() ? std::nullopt : std::make_optional(found);
}

std::string subject_text(const std::string& on, const std::vector<channel_place>& known) {
  const auto side = side_of(on);
  if (side.empty()) return nx::shown_text(on);
  const auto id =
      static_cast<unsigned>(std::strtoul(on.c_str() + client.size() + side.size(), nullptr, 10));
  const auto place = std::find_if(known.begin(), known.end(),
                                  [id](const channel_place& each) { return each.id == id; });
  const auto frequency = place == known.end() ? id : place->frequency;
  return fmt::format("{} {}", thz_text(frequency), nx::shown_text(side));
}

std::vector<std::string> event_lines(const std::vector<event>& events,
                                     const std::vector<channel_place>& known) {
  const auto groups = grouped(events);
  std::vector<std::string> subjects;
  std::size_t width = 0;
  constexpr std::size_t widest = 24;  // a path may be long; it takes the room it needs
  for (const auto& each : groups) {
    subjects.push_back(subjects_text(each, known));
    if (subjects.back().size() <= widest) width = std::max(width, subjects.back().size());
  }
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < groups.size(); ++at) {
    lines.push_back(fmt::format("{}  {:<{}}  {}", shown_time(groups[at].first->time), subjects[at],
                                width, nx::shown_text(without_folders(what_text(groups[at])))));
  }
  return lines;
}

std::optional<long> seconds_of(const std::string& time) {
  tm parts{};
  const char* end = strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
  if (end == nullptr) return std::nullopt;
  return static_cast<long>(timegm(&parts));
}

}  // namespace tools::insight
