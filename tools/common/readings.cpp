#include "tools/common/readings.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <charconv>

#include "platform/wire/shown_text.h"
#include "tools/common/value_text.h"

namespace tools {

namespace {

template <class T>
std::optional<T> find(const std::map<std::string, readings::value>& values,
                      const std::string& path) {
  const auto found = values.find(path);
  if (found == values.end() || !std::holds_alternative<T>(found->second)) return std::nullopt;
  return std::get<T>(found->second);
}

}  // namespace

void readings::put_all(const nx::json_value& members, const std::string& prefix) {
  for (const auto& member : members.GetObject()) {
    const auto path = prefix + member.name.GetString();
    if (member.value.IsNumber()) put(path, member.value.GetDouble());
    if (member.value.IsBool()) put(path, member.value.GetBool());
    if (member.value.IsString()) put(path, nx::shown_text(member.value.GetString()));
    if (error_in(member.value)) continue;
    if (member.value.IsObject() || member.value.IsArray()) put(path, nx::json_text(member.value));
  }
}

std::optional<double> readings::number(const std::string& path) const {
  return find<double>(values_, path);
}

std::optional<bool> readings::flag(const std::string& path) const {
  return find<bool>(values_, path);
}

std::optional<std::string> readings::text(const std::string& path) const {
  return find<std::string>(values_, path);
}

std::vector<std::string> readings::paths_below(const std::string& prefix) const {
  std::vector<std::string> paths;
  for (auto at = values_.lower_bound(prefix); at != values_.end(); ++at) {
    if (!at->first.starts_with(prefix)) break;
    paths.push_back(at->first);
  }
  return paths;
}

std::vector<unsigned> readings::numbered(const std::string& before,
                                         const std::string& after) const {
  std::vector<unsigned> numbers;
  for (auto at = values_.lower_bound(before); at != values_.end(); ++at) {
    const auto& path = at->first;
    if (!path.starts_with(before)) break;
    unsigned number = 0;
    const char* end = path.data() + path.size();
    const auto [rest, error] = std::from_chars(path.data() + before.size(), end, number);
    if (error == std::errc{} && std::string_view(rest, end) == after) numbers.push_back(number);
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

}  // namespace tools
