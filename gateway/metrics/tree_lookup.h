// Access to a JSON object of paths and values, as returned by `get`: empty if a path is missing or
// has another type. A tree of 96 channels has some 4,000 values, so whoever reads many of them
// finds them by an index. Pure.
#pragma once

#include <rapidjson/document.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace gateway {

/// An index of a JSON object, which outlives it.
class tree_values {
 public:
  explicit tree_values(const nx::json_value& object) {
    for (const auto& member : object.GetObject())
      by_path_.emplace(std::string_view(member.name.GetString(), member.name.GetStringLength()),
                       &member.value);
  }
  const nx::json_value* find(std::string_view path) const {
    const auto found = by_path_.find(path);
    return found == by_path_.end() ? nullptr : found->second;
  }

 private:
  std::unordered_map<std::string_view, const nx::json_value*> by_path_;
};

inline const nx::json_value* value_at(const tree_values& values, const std::string& path) {
  return values.find(path);
}
inline const nx::json_value* value_at(const nx::json_value& values, const std::string& path) {
  const auto found = values.FindMember(path.c_str());
  return found == values.MemberEnd() ? nullptr : &found->value;
}

template <class Values>
std::optional<double> number_at(const Values& values, const std::string& path) {
  const auto* value = value_at(values, path);
  return value && value->IsNumber() ? std::optional(value->GetDouble()) : std::nullopt;
}

template <class Values>
std::optional<bool> flag_at(const Values& values, const std::string& path) {
  const auto* value = value_at(values, path);
  return value && value->IsBool() ? std::optional(value->GetBool()) : std::nullopt;
}

template <class Values>
std::optional<std::string> text_at(const Values& values, const std::string& path) {
  const auto* value = value_at(values, path);
  if (!value || !value->IsString()) return std::nullopt;
  return std::string(value->GetString(), value->GetStringLength());
}

/// Calls `told(name, object)` for each member of the object at `path` that is an object.
template <class Told>
void for_each_object(const tree_values& values, const std::string& path, Told told) {
  const auto* value = value_at(values, path);
  if (!value || !value->IsObject()) return;
  for (const auto& member : value->GetObject()) {
    if (!member.value.IsObject() || member.name == "error") continue;
    told(std::string(member.name.GetString(), member.name.GetStringLength()), member.value);
  }
}

}  // namespace gateway
