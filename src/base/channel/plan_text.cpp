#include "base/channel/plan_text.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <optional>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace channel {

namespace {

std::optional<std::uint32_t> integer_member(const nx::json_value& entry, const char* name) {
  const auto member = entry.FindMember(name);
  if (member == entry.MemberEnd() || !member->value.IsInt()) return std::nullopt;
  return static_cast<std::uint32_t>(member->value.GetInt());
}

std::optional<plan_entry> parse_entry(const nx::json_value& entry) {
  const auto port = integer_member(entry, "port");
  const auto center = integer_member(entry, "center_frequency");
  const auto width = integer_member(entry, "width");
  if (!port || !center || !width) return std::nullopt;
  plan_entry result{*center, *width, *port};
  const auto version = entry.FindMember("version");
  if (version != entry.MemberEnd() && version->value.IsString()) {
    result.version.assign(version->value.GetString(), version->value.GetStringLength());
  }
  return result;
}

nx_error not_a_plan(const std::string& fault) {
  return nx_error(-22, "Stored channel plan is not an array of objects: " + fault);
}

nx::json_document parse_array(const std::string& text) {
  nx::json_document document;
  try {
    document = nx::parse_json(text);
  } catch (const nx_error& error) {
    throw not_a_plan(error.message);
  }
  if (!document.IsArray()) throw not_a_plan(std::string("found ") + nx::json_type_name(document));
  return document;
}

}  // namespace

parsed_plan parse_plan(const std::string& text) {
  parsed_plan result;
  if (text.empty()) return result;
  const auto document = parse_array(text);
  for (const auto& element : document.GetArray()) {
    if (!element.IsObject()) {
      throw not_a_plan(std::string("found an element of type ") + nx::json_type_name(element));
    }
    if (auto entry = parse_entry(element)) {
      result.entries.push_back(std::move(*entry));
    } else {
      result.has_bad_entries = true;
    }
  }
  return result;
}

std::string plan_to_text(const std::vector<plan_entry>& entries) {
  std::string text;
  for (const auto& entry : entries) {
    text += fmt::format(",{{\"center_frequency\":{},\"width\":{},\"port\":{},\"version\":\"{}\"}}",
                        entry.center_frequency, entry.width, entry.port, entry.version);
  }
  return fmt::format("[{}]", text.empty() ? text : text.substr(1));
}

}  // namespace channel
