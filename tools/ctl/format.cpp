#include "tools/ctl/format.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <array>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/shown_text.h"
#include "tools/common/accepted.h"
#include "tools/common/units.h"
#include "tools/common/value_text.h"

namespace tools::ctl {

namespace {

std::string may_of(const nx::json_value& record) {
  const auto* capabilities = nx::member_of(record, "capabilities");
  if (!capabilities || !capabilities->IsObject()) return "-";
  std::string may;
  for (const auto& capability : capabilities->GetObject()) {
    if (!capability.value.IsTrue()) continue;
    may += (may.empty() ? "" : ",") + std::string(capability.name.GetString());
  }
  return may;
}

bool is_told_in_words(const std::string& name) {
  constexpr std::array told{"type", "valueType", "capabilities", "unit", "constraints"};
  return std::find(told.begin(), told.end(), name) != told.end();
}

/// "-2 to 12", "0 to 1 in steps of 0.1", "up, down".
std::string accepted_text(const nx::json_value& constraints) {
  std::string text;
  const auto add = [&](const char* before, const nx::json_value& value) {
    text += before + (value.IsString() ? value.GetString() : nx::json_text(value));
  };
  if (const auto* allowed = nx::member_of(constraints, "allowed")) {
    for (const auto& value : allowed->GetArray())
      add(text.empty() ? "" : ", ", value);
    return text;
  }
  for (const auto& [name, before] :
       {std::pair{"min", ""}, {"max", " to "}, {"grid", " in steps of "}}) {
    if (const auto* limit = nx::member_of(constraints, name)) add(before, *limit);
  }
  return text;
}

/// Two blanks and the text, if there is one.
std::string column(const std::string& text) {
  return text.empty() ? "" : "  " + text;
}

nx::json_value constraints_of(const accepted_values& accepted, nx::json_allocator& allocator) {
  nx::json_value object(rapidjson::kObjectType);
  if (accepted.words.front().empty()) {
    object.AddMember("min", accepted.min, allocator);
    return std::move(object.AddMember("max", accepted.max, allocator));
  }
  nx::json_value allowed(rapidjson::kArrayType);
  for (const auto word : accepted.words) {
    if (!word.empty()) allowed.PushBack(nx::to_json(std::string(word), allocator), allocator);
  }
  return std::move(object.AddMember("allowed", allowed, allocator));
}

std::string rest_of(const nx::json_value& record) {
  nx::json_document rest(rapidjson::kObjectType);
  for (const auto& member : record.GetObject()) {
    const std::string name = member.name.GetString();
    if (is_told_in_words(name)) continue;
    rest.AddMember(nx::json_value(member.name, rest.GetAllocator()),
                   nx::json_value(member.value, rest.GetAllocator()), rest.GetAllocator());
  }
  return rest.ObjectEmpty() ? "" : "  " + nx::json_text(rest);
}

}  // namespace

std::vector<std::string> segments_of(const std::string& path) {
  std::vector<std::string> segments(1);
  for (const char c : path) {
    if (c == '/') {
      segments.emplace_back();
    } else {
      segments.back() += c;
    }
  }
  return segments;
}

rows rows_of(const nx::json_value& members, bool bare) {
  rows table;
  for (const auto& member : members.GetObject()) {
    const std::string path = member.name.GetString();
    table.emplace_back(nx::shown_text(path),
                       value_text(path, member.value, bare ? detail::bare : detail::with_unit));
  }
  return table;
}

std::string columns(const rows& table) {
  std::size_t width = 0;
  for (const auto& [left, right] : table)
    width = std::max(width, left.size());
  std::string text;
  for (const auto& [left, right] : table)
    text += fmt::format("{:<{}}  {}\n", left, width, right);
  return text;
}

std::string tree_text(const rows& table) {
  std::string text;
  std::vector<std::string> above;
  for (const auto& [path, value] : table) {
    auto segments = segments_of(path);
    const auto name = segments.back();
    segments.pop_back();
    const auto shared = static_cast<std::size_t>(
        std::mismatch(above.begin(), above.end(), segments.begin(), segments.end()).first -
        above.begin());
    for (auto level = shared; level < segments.size(); ++level) {
      text += fmt::format("{:{}}{}/\n", "", 2 * level, segments[level]);
    }
    text += fmt::format("{:{}}{}{}{}\n", "", 2 * segments.size(), name, value.empty() ? "" : "  ",
                        value);
    above = std::move(segments);
  }
  return text;
}

nx::json_document tree_object(const nx::json_value& values) {
  nx::json_document root(rapidjson::kObjectType);
  auto& allocator = root.GetAllocator();
  for (const auto& member : values.GetObject()) {
    nx::json_value* level = &root;
    const auto segments = segments_of(member.name.GetString());
    for (std::size_t at = 0; at + 1 < segments.size(); ++at) {
      const auto name = segments[at] + "/";
      if (!level->HasMember(name.c_str())) {
        level->AddMember(nx::to_json(name, allocator), nx::json_value(rapidjson::kObjectType),
                         allocator);
      }
      level = &(*level)[name.c_str()];
    }
    level->AddMember(nx::to_json(segments.back(), allocator),
                     nx::json_value(member.value, allocator), allocator);
  }
  return root;
}

void complete_info(const std::string& path, nx::json_value& record, nx::json_allocator& allocator) {
  if (!record.IsObject() || error_in(record)) return;
  if (const auto unit = unit_of(path); !unit.empty() && !record.HasMember("unit")) {
    record.AddMember("unit", nx::to_json(std::string(unit), allocator), allocator);
  }
  const auto accepted = accepted_at(path);
  if (!accepted || record.HasMember("constraints")) return;
  record.AddMember("constraints", constraints_of(*accepted, allocator), allocator);
}

std::string info_line(const std::string& path, const nx::json_value& record) {
  const auto shown = nx::shown_text(path);
  if (const auto error = error_in(record)) {
    return fmt::format("{}  ({})", shown, error_text(*error));
  }
  if (!record.IsObject()) {
    return fmt::format("{}  {}", shown, nx::shown_text(nx::json_text(record)));
  }
  auto kind = nx::text_member(record, "type");
  auto type = nx::text_member(record, "valueType");
  const auto* constraints = nx::member_of(record, "constraints");
  const bool limited = constraints && constraints->IsObject();
  const auto rest =
      fmt::format("{}  {}  {}{}{}{}", kind.empty() ? "-" : kind, type.empty() ? "-" : type,
                  may_of(record), column(nx::text_member(record, "unit")),
                  column(limited ? accepted_text(*constraints) : ""), rest_of(record));
  return fmt::format("{}  {}", shown, nx::shown_text(rest));
}

std::string event_line(const nx::json_value& message) {
  const auto* params = nx::member_of(message, "params");
  if (!params || !params->IsObject()) return nx::shown_text(nx::json_text(message));
  const auto path = nx::text_member(*params, "path");
  const auto shown = nx::shown_text(path);
  if (nx::text_member(message, "method") == "ended") {
    return fmt::format("{}  ended: {}", shown, nx::shown_text(nx::text_member(*params, "reason")));
  }
  const auto time = nx::shown_text(nx::text_member(*params, "time"));
  if (const auto* value = nx::member_of(*params, "value")) {
    return fmt::format("{}  {}  {}", time, shown, value_text(path, *value, detail::with_unit));
  }
  const auto* error = nx::member_of(*params, "error");
  if (!error) return fmt::format("{}  {}", time, shown);
  return fmt::format("{}  {}  ({})", time, shown,
                     error_text(nx::json_rpc::error_from_value(*error)));
}

}  // namespace tools::ctl
