#include "tools/ctl/format.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>

#include "tools/common/value_text.h"

namespace tools::ctl {

namespace {

std::string text_of(const nx::json_value& object, const char* member) {
  if (!object.IsObject()) return "";
  const auto found = object.FindMember(member);
  return found != object.MemberEnd() && found->value.IsString() ? found->value.GetString() : "";
}

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

std::string may_of(const nx::json_value& record) {
  const auto capabilities = record.FindMember("capabilities");
  if (capabilities == record.MemberEnd() || !capabilities->value.IsObject()) return "-";
  std::string may;
  for (const auto& capability : capabilities->value.GetObject()) {
    if (!capability.value.IsTrue()) continue;
    may += (may.empty() ? "" : ",") + std::string(capability.name.GetString());
  }
  return may;
}

std::string rest_of(const nx::json_value& record) {
  nx::json_document rest(rapidjson::kObjectType);
  for (const auto& member : record.GetObject()) {
    const std::string name = member.name.GetString();
    if (name == "type" || name == "valueType" || name == "capabilities") continue;
    rest.AddMember(nx::json_value(member.name, rest.GetAllocator()),
                   nx::json_value(member.value, rest.GetAllocator()), rest.GetAllocator());
  }
  return rest.ObjectEmpty() ? "" : "  " + nx::json_text(rest);
}

}  // namespace

rows rows_of(const nx::json_value& members, bool bare) {
  rows table;
  for (const auto& member : members.GetObject()) {
    const std::string path = member.name.GetString();
    table.emplace_back(path,
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

std::string info_line(const std::string& path, const nx::json_value& record) {
  if (const auto error = error_in(record)) return fmt::format("{}  ({})", path, error_text(*error));
  if (!record.IsObject()) return fmt::format("{}  {}", path, nx::json_text(record));
  auto kind = text_of(record, "type");
  auto type = text_of(record, "valueType");
  return fmt::format("{}  {}  {}  {}{}", path, kind.empty() ? "-" : kind, type.empty() ? "-" : type,
                     may_of(record), rest_of(record));
}

std::string event_line(const nx::json_value& message) {
  const auto params = message.FindMember("params");
  if (params == message.MemberEnd() || !params->value.IsObject()) return nx::json_text(message);
  const auto path = text_of(params->value, "path");
  if (text_of(message, "method") == "ended") {
    return fmt::format("{}  ended: {}", path, text_of(params->value, "reason"));
  }
  const auto time = text_of(params->value, "time");
  for (const char* content : {"value", "error"}) {
    const auto found = params->value.FindMember(content);
    if (found == params->value.MemberEnd()) continue;
    return fmt::format("{}  {}  {}", time, path, value_text(path, found->value, detail::with_unit));
  }
  return fmt::format("{}  {}", time, path);
}

}  // namespace tools::ctl
