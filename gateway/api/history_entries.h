// The entries of a history in the daemon's answer, {PATH:[{"time":..,"value":..},...]}.
#pragma once

#include <string>

#include "platform/wire/json.h"

namespace gateway {

/// Calls `told(time, value)` for each entry of the path, oldest first; skips anything else.
template <class Told>
void for_each_entry(const nx::json_value* result, const std::string& path, Told told) {
  if (!result || !result->IsObject()) return;
  const auto entries = result->FindMember(path.c_str());
  if (entries == result->MemberEnd() || !entries->value.IsArray()) return;
  for (const auto& entry : entries->value.GetArray()) {
    if (!entry.IsObject()) continue;
    const auto time = entry.FindMember("time");
    const auto value = entry.FindMember("value");
    if (time == entry.MemberEnd() || value == entry.MemberEnd() || !time->value.IsString())
      continue;
    told(std::string(time->value.GetString()), value->value);
  }
}

inline std::string history_entry(const std::string& time, const std::string& value) {
  return "{\"time\":\"" + time + "\",\"value\":" + value + '}';
}

}  // namespace gateway
