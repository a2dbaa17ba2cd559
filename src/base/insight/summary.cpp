#include "base/insight/summary.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <tuple>

#include "base/insight/channel_text.h"
#include "platform/value_tree/event_frame.h"
#include "states/line_state.h"

namespace insight {

namespace {

using nx::json_allocator;
using nx::json_value;
using states::channel_state;
using states::line_state;
using texts = std::vector<std::string>;

// Beyond this number of a kind, the rest are counted, not named.
constexpr std::size_t named = 4;

/// Something was there and is no longer, as opposed to never having been there.
bool is_lost(const node_facts& node) {
  switch (state_of(node.line.reason)) {
    case line_state::no_peer:
      return node.line.reason != line_reason::nobody_answers;
    case line_state::no_fibre:
    case line_state::no_supervisory_link:
    case line_state::peer_stands_still:
    case line_state::device_failed:
      return true;
    default:
      return false;
  }
}

/// "12:03:10 UTC" of today's moments, "2026-01-31 12:03 UTC" of older ones.
std::string since_text(std::chrono::system_clock::time_point since,
                       std::chrono::system_clock::time_point now) {
  const auto time = nx::event_time(since);  // 2026-01-31T12:03:10.123Z
  if (now - since < std::chrono::hours(24)) return time.substr(11, 8) + " UTC";
  return fmt::format("{} {} UTC", time.substr(0, 10), time.substr(11, 5));
}

void add_lost(const node_facts& node, texts& parts) {
  for (const auto& fault : node.faults) {
    parts.push_back(fmt::format("{} down since {}: {}; set up again every second", fault.loop,
                                since_text(fault.since, node.wall_clock), fault.reason));
  }
  const auto state = state_of(node.line.reason);
  if (!is_lost(node)) return;
  parts.push_back(fmt::format("{} since {}: {}", states::row_of(state).text,
                              since_text(node.line.since, node.wall_clock), brief_of(node.line)));
}

std::string name_of(const known_channel& channel) {
  return thz(channel.frequency) + (channel.is_rx ? "" : " tx");
}

/// "191.70 exhausted (2.7 dB short)"; empty for a channel that is as it should be.
std::string trouble_of(const known_channel& channel) {
  const auto& verdict = channel.verdict;
  const auto name = name_of(channel);
  switch (verdict.state()) {
    case channel_state::too_weak:
      return fmt::format("{} exhausted ({:.1f} dB short)", name, -verdict.error);
    case channel_state::too_strong:
      return fmt::format("{} exhausted ({:.1f} dB too strong)", name, verdict.error);
    case channel_state::amplifier_saturated:
    case channel_state::reading_unknown:
    case channel_state::device_failed:
      return fmt::format("{} {}", name, states::row_of(verdict.state()).text);
    default:
      return {};
  }
}

bool is_settling(const known_channel& channel) {
  return states::row_of(channel.verdict.state()).how == states::severity::working &&
         !channel.verdict.is_on_target && channel.verdict.lit &&
         channel.verdict.state() != channel_state::reading_unknown;
}

void join_named(texts& all, const char* what, texts& joined) {
  for (std::size_t i = 0; i < std::min(all.size(), named); ++i)
    joined.push_back(std::move(all[i]));
  if (all.size() > named) joined.push_back(fmt::format("{} {}", all.size() - named, what));
}

void add_channels(const node_facts& node, texts& parts) {
  unsigned lit = 0;
  unsigned on_target = 0;
  texts troubled;
  texts settling;
  for (const auto& channel : node.channels) {
    if (channel.is_rx && channel.verdict.lit) ++lit;
    if (channel.is_rx && channel.verdict.lit && channel.verdict.is_on_target) ++on_target;
    if (auto trouble = trouble_of(channel); !trouble.empty()) troubled.push_back(trouble);
    if (is_settling(channel)) settling.push_back(name_of(channel) + " settling");
  }
  parts.push_back(fmt::format("{} of {} lit channels on target", on_target, lit));
  texts details;
  join_named(troubled, "more in trouble", details);
  join_named(settling, "more settling", details);
  if (!details.empty()) parts.push_back(fmt::format("{}", fmt::join(details, ", ")));
}

void add_hunting(const node_facts& node, texts& parts) {
  texts hunting;
  for (const auto& channel : node.channels)
    if (channel.actuator.is_hunting(node.now)) hunting.push_back(name_of(channel) + " hunts");
  if (node.voa.is_hunting(node.now)) {
    hunting.emplace_back(node.has_given_way ? "the line's VOA hunts: the far preamp is at its limit"
                                            : "the line's VOA hunts");
  }
  texts joined;
  join_named(hunting, "more hunt", joined);
  if (!joined.empty()) parts.push_back(fmt::format("{}", fmt::join(joined, ", ")));
}

void add_line(const node_facts& node, texts& parts) {
  if (is_lost(node)) return;
  const auto& row = states::row_of(state_of(node.line.reason));
  auto text = fmt::format("line {}", row.text);
  if (row.how == states::severity::person) text += fmt::format(" ({})", brief_of(node.line));
  parts.push_back(std::move(text));
}

struct sums {
  unsigned steps = 0;
  unsigned reversals = 0;
  json_value hunting{rapidjson::kArrayType};
  json_value worst;
};

json_value number(unsigned value) {
  return json_value(value);
}

json_value rest_of_side(const node_facts& node, bool is_rx, json_allocator& allocator) {
  sums all;
  auto worst = std::tuple(0U, 0U);  // more important than steps
  for (const auto& channel : node.channels) {
    if (channel.is_rx != is_rx) continue;
    const auto steps = channel.actuator.steps_last_hour(node.now);
    const auto reversals = channel.actuator.reversals_last_hour(node.now);
    all.steps += steps;
    all.reversals += reversals;
    if (channel.actuator.is_hunting(node.now)) all.hunting.PushBack(channel.id, allocator);
    if (std::tuple(reversals, steps) <= worst) continue;
    worst = {reversals, steps};
    all.worst.SetObject();
    all.worst.AddMember("channel", number(channel.id), allocator);
    all.worst.AddMember("steps", number(steps), allocator);
    all.worst.AddMember("reversals", number(reversals), allocator);
  }
  json_value side(rapidjson::kObjectType);
  const auto* name = is_rx ? "client rx" : "client tx";
  side.AddMember("up", std::ranges::count(node.faults, name, &loop_fault::loop) == 0, allocator);
  side.AddMember("stepsLastHour", number(all.steps), allocator);
  side.AddMember("reversalsLastHour", number(all.reversals), allocator);
  side.AddMember("hunts", !all.hunting.Empty(), allocator);
  side.AddMember("hunting", all.hunting, allocator);
  side.AddMember("worst", all.worst, allocator);
  return side;
}

}  // namespace

std::string summary_of(const node_facts& node) {
  texts parts;
  if (!node.is_regulating) parts.emplace_back("not regulating because of the automation mode");
  add_lost(node, parts);
  add_channels(node, parts);
  add_hunting(node, parts);
  add_line(node, parts);
  if (!node.peer.empty()) parts.push_back("peer " + node.peer);
  return fmt::format("{}", fmt::join(parts, "; "));
}

nx::json_document rest_of(const node_facts& node) {
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  document.AddMember("client rx", rest_of_side(node, true, allocator), allocator);
  document.AddMember("client tx", rest_of_side(node, false, allocator), allocator);
  json_value line(rapidjson::kObjectType);
  line.AddMember("up", state_of(node.line.reason) != line_state::device_failed, allocator);
  line.AddMember("stepsLastHour", number(node.voa.steps_last_hour(node.now)), allocator);
  line.AddMember("reversalsLastHour", number(node.voa.reversals_last_hour(node.now)), allocator);
  const bool hunts = node.voa.is_hunting(node.now);
  line.AddMember("hunts", hunts, allocator);
  if (hunts && node.has_given_way) {
    const auto* why = states::row_of(line_state::far_preamp_saturated).text;
    line.AddMember("because", rapidjson::StringRef(why), allocator);
  }
  document.AddMember("line", line, allocator);
  return document;
}

}  // namespace insight
