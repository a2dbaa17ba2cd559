// Access to a JSON object of paths and values, as returned by `get`: empty if a path is missing or
// has another type. JSON may appear as a value or as its text.
#pragma once

#include <rapidjson/document.h>

#include <optional>
#include <string>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace gateway {

inline const nx::json_value* value_at(const nx::json_value& values, const std::string& path) {
  const auto found = values.FindMember(path.c_str());
  return found == values.MemberEnd() ? nullptr : &found->value;
}

inline std::optional<double> number_at(const nx::json_value& values, const std::string& path) {
  const auto* value = value_at(values, path);
  return value && value->IsNumber() ? std::optional(value->GetDouble()) : std::nullopt;
}

inline std::optional<bool> flag_at(const nx::json_value& values, const std::string& path) {
  const auto* value = value_at(values, path);
  return value && value->IsBool() ? std::optional(value->GetBool()) : std::nullopt;
}

inline std::optional<std::string> text_at(const nx::json_value& values, const std::string& path) {
  const auto* value = value_at(values, path);
  if (!value || !value->IsString()) return std::nullopt;
  return std::string(value->GetString(), value->GetStringLength());
}

/// Calls `told(name, object)` for each member of the object at `path` that is an object.
template <class Told>
void for_each_object(const nx::json_value& values, const std::string& path, Told told) {
  const auto* value = value_at(values, path);
  if (!value || !value->IsObject()) return;
  for (const auto& member : value->GetObject()) {
    if (!member.value.IsObject() || member.name == "error") continue;
    told(std::string(member.name.GetString(), member.name.GetStringLength()), member.value);
  }
}

}  // namespace gateway
