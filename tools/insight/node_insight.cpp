#include "tools/insight/node_insight.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>

#include "platform/wire/json.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/shown_text.h"
#include "tools/common/units.h"
#include "tools/common/value_text.h"

namespace tools::insight {

namespace {

nx::json_document document_at(const readings& read, const std::string& path) {
  const auto text = read.text(path);
  try {
    return text ? nx::parse_json(*text) : nx::json_document();
  } catch (const nx_error&) {
    return {};
  }
}

std::string word_in(const nx::json_value& object, const char* name) {
  return nx::shown_text(nx::text_member(object, name));
}

figure figure_in(const nx::json_value& object, const char* name) {
  const auto* found = nx::member_of(object, name);
  return found && found->IsNumber() ? figure(found->GetDouble()) : std::nullopt;
}

bool flag_in(const nx::json_value& object, const char* name) {
  const auto* found = nx::member_of(object, name);
  return found && found->IsTrue();
}

/// "No answer within 2 s: booster" of a channel whose state says the rest.
std::string cause_alone(std::string why) {
  for (const std::string_view repeated : {"the loop is down: ", "a device does not answer: "}) {
    if (why.starts_with(repeated)) return why.substr(repeated.size());
  }
  return why;
}

channel channel_of(const readings& read, unsigned id, const char* side) {
  const auto base = fmt::format("insight/client/{}/{}/", id, side);
  const auto data = fmt::format("data/client/{}/{}/", id, side);
  channel found;
  found.place = {id, static_cast<unsigned>(read.number(data + "frequency").value_or(id))};
  found.is_rx = std::string_view(side) == "rx";
  found.state_text = read.text(base + "state").value_or("");
  found.state = states::channel_state_of(found.state_text);
  found.why = cause_alone(without_folders(read.text(base + "why").value_or("")));
  for (const auto& [name, into] : {std::pair{"target", &found.target},
                                   {"measured", &found.measured},
                                   {"error", &found.error},
                                   {"deadBand", &found.dead_band},
                                   {"headroomUp", &found.headroom_up},
                                   {"headroomDown", &found.headroom_down},
                                   {"age", &found.age},
                                   {"stepsLastHour", &found.steps_last_hour}}) {
    *into = read.number(base + name);
  }
  found.attenuation = read.number(data + "attenuation");
  const auto config = fmt::format("config/client/{}/{}/", id, side);
  found.has_been_lit = read.has(base + "arrival");
  found.is_wanted = read.text(config + "adminStatus") == "up";
  return found;
}

std::vector<channel> channels_of(const readings& read) {
  std::vector<channel> channels;
  for (const char* side : {"rx", "tx"}) {
    for (const auto id : read.numbered("insight/client/", fmt::format("/{}/state", side)))
      channels.push_back(channel_of(read, id, side));
  }
  std::stable_sort(channels.begin(), channels.end(), [](const auto& one, const auto& other) {
    return one.place.frequency < other.place.frequency;
  });
  return channels;
}

line line_of(const readings& read) {
  line found;
  found.state_text = read.text("insight/line/state").value_or("");
  found.state = states::line_state_of(found.state_text);
  found.why = without_folders(read.text("insight/line/why").value_or(""));
  found.headroom_up = read.number("insight/line/headroomUp");
  found.headroom_down = read.number("insight/line/headroomDown");
  found.steps_last_hour = read.number("insight/line/stepsLastHour");
  return found;
}

std::string shown_value(const readings& read, const std::string& path) {
  if (const auto number = read.number(path)) {
    const auto unit = unit_of(path);
    return fmt::format("{:.1f}{}{}", *number, unit.empty() ? "" : " ", unit);
  }
  if (const auto flag = read.flag(path)) return *flag ? "yes" : "no";
  return read.text(path).value_or("-");
}

std::vector<device> devices_of(const readings& read) {
  constexpr std::string_view before = "insight/device/";
  std::vector<device> devices;
  for (const auto& path : read.paths_below(std::string(before))) {
    const auto slash = path.find('/', before.size());
    if (slash == path.npos) continue;
    const auto name = path.substr(before.size(), slash - before.size());
    const auto figure = path.substr(slash + 1);
    if (devices.empty() || devices.back().name != name) devices.push_back({name, {}, {}, {}, {}});
    auto& device = devices.back();
    if (figure == "alive") {
      device.alive = read.flag(path);
    } else if (figure == "age") {
      device.age = read.number(path);
    } else {
      device.values.emplace_back(figure, shown_value(read, path));
      const bool is_on = read.flag(path.substr(0, slash) + "/enabled") == true;
      if (figure == "saturation" && is_on) device.saturation = read.number(path);
    }
  }
  return devices;
}

rung rung_of(const nx::json_value& of) {
  rung found;
  found.point = word_in(of, "point");
  found.basis = word_in(of, "basis");
  found.unit = word_in(of, "unit");
  found.expected = figure_in(of, "expected");
  found.measured = figure_in(of, "measured");
  found.difference = figure_in(of, "difference");
  found.is_wrong = flag_in(of, "wrong");
  if (!of.IsObject() || !of.HasMember("channels") || !of["channels"].IsArray()) return found;
  for (const auto& each : of["channels"].GetArray()) {
    const auto id = figure_in(each, "channel");
    if (id && flag_in(each, "wrong")) found.wrong_channels.push_back(static_cast<unsigned>(*id));
  }
  return found;
}

ladder ladder_of(const readings& read, const char* side) {
  const auto document = document_at(read, std::string("insight/ladder/") + side);
  ladder found{side, word_in(document, "why"), {}, {}};
  if (!document.IsObject() || !document.HasMember("rungs") || !document["rungs"].IsArray()) {
    return found;
  }
  for (const auto& of : document["rungs"].GetArray()) {
    found.rungs.push_back(rung_of(of));
    if (found.rungs.back().is_wrong) found.fault = word_in(of, "fault");
  }
  return found;
}

std::vector<peer_gap> peer_gaps_of(const readings& read) {
  std::vector<peer_gap> gaps;
  const auto document = document_at(read, "insight/peer");
  if (!document.IsObject() || !document.HasMember("unreadable")) return gaps;
  const auto& unreadable = document["unreadable"];
  if (!unreadable.IsArray()) return gaps;
  for (const auto& of : unreadable.GetArray()) {
    peer_gap gap{word_in(of, "part"), word_in(of, "since"), word_in(of, "meanwhile"), {}};
    if (of.IsObject() && of.HasMember("values") && of["values"].IsArray()) {
      for (const auto& path : of["values"].GetArray())
        if (path.IsString()) gap.values.push_back(nx::shown_text(path.GetString()));
    }
    gaps.push_back(std::move(gap));
  }
  return gaps;
}

/// {"GUARD":{"withheld":N,"active":[{"on":..,"since":..,"reason":..}]}}
std::vector<active_guard> guards_of(const readings& read) {
  std::vector<active_guard> guards;
  const auto document = document_at(read, "insight/guards");
  if (!document.IsObject()) return guards;
  for (const auto& of : document.GetObject()) {
    if (!of.value.IsObject() || !of.value.HasMember("active")) continue;
    const auto& active = of.value["active"];
    if (!active.IsArray()) continue;
    for (const auto& on : active.GetArray()) {
      guards.push_back({nx::shown_text(of.name.GetString()), word_in(on, "on"),
                        word_in(on, "since"), word_in(on, "reason")});
    }
  }
  return guards;
}

/// {"client rx":{"hunting":[ID, ...]},"line":{"hunts":false}}
std::vector<std::string> hunting_of(const readings& read, const std::vector<channel>& channels) {
  std::vector<std::string> names;
  const auto document = document_at(read, "insight/rest");
  if (!document.IsObject()) return names;
  if (document.HasMember("line") && flag_in(document["line"], "hunts")) names.emplace_back("line");
  for (const auto& each : channels) {
    const auto* loop = each.is_rx ? "client rx" : "client tx";
    if (!document.HasMember(loop) || !document[loop].HasMember("hunting")) continue;
    for (const auto& id : document[loop]["hunting"].GetArray()) {
      if (!id.IsUint() || id.GetUint() != each.place.id) continue;
      names.push_back(thz_text(each.place.frequency) + (each.is_rx ? " rx" : " tx"));
    }
  }
  return names;
}

/// Restores what the tree's text contains as an escape, since it may not contain line breaks.
std::vector<std::string> lines_in(std::string text) {
  constexpr std::string_view line_end = "\\n";
  std::vector<std::string> lines;
  while (!text.empty()) {
    const auto end = std::min(text.find(line_end), text.size());
    if (end > 0) lines.push_back(text.substr(0, end));
    text.erase(0, end + line_end.size());
  }
  return lines;
}

}  // namespace

const std::vector<const char*>& insight_patterns() {
  static const std::vector<const char*> patterns{"insight/**",
                                                 "data/client/*/*/frequency",
                                                 "data/client/*/*/attenuation",
                                                 "config/client/*/*/adminStatus",
                                                 "config/redisConfigStatus",
                                                 "data/product",
                                                 "data/automationMode",
                                                 "data/line/1/remoteProduct"};
  return patterns;
}

node_insight insight_of(const readings& read, std::vector<event> events) {
  node_insight node;
  node.summary = without_folders(read.text("insight/summary").value_or(""));
  node.product = read.text("data/product").value_or("");
  node.automation_mode = read.text("data/automationMode").value_or("");
  node.peer = read.text("data/line/1/remoteProduct").value_or("");
  node.is_configured = read.flag("config/redisConfigStatus").value_or(false);
  node.channels = channels_of(read);
  node.of_line = line_of(read);
  node.start = lines_in(read.text("insight/start").value_or(""));
  node.turn = word_in(document_at(read, "insight/cycle"), "turn");
  node.tells_of_itself = !node.summary.empty() || !node.of_line.state_text.empty();
  node.devices = devices_of(read);
  node.ladders = {ladder_of(read, "rx"), ladder_of(read, "tx")};
  node.peer_gaps = peer_gaps_of(read);
  node.guards = guards_of(read);
  node.hunting = hunting_of(read, node.channels);
  const auto rest = document_at(read, "insight/rest");
  node.far_preamp_at_limit = rest.IsObject() && rest.HasMember("line") &&
                             states::line_state_of(word_in(rest["line"], "because")) ==
                                 states::line_state::far_preamp_saturated;
  node.events = std::move(events);
  return node;
}

std::string without_folders(std::string text) {
  constexpr std::string_view folder = "/tmp/nexels/";
  for (auto at = text.find(folder); at != text.npos; at = text.find(folder)) {
    const auto before = text.find_last_of(" (", at);
    const auto begin = before == text.npos ? 0 : before + 1;
    text.erase(begin, at + folder.size() - begin);
  }
  return text;
}

std::vector<channel_place> places_of(const node_insight& node) {
  std::vector<channel_place> places;
  for (const auto& each : node.channels) {
    if (places.empty() || places.back().id != each.place.id) places.push_back(each.place);
  }
  return places;
}

}  // namespace tools::insight
