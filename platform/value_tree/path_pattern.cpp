#include "platform/value_tree/path_pattern.h"

#include <algorithm>
#include <string>

#include "platform/wire/nx_error.h"

namespace nx {
namespace {

[[noreturn]] void refuse(std::string_view what, std::string_view path) {
  throw nx_error(nx_error::invalid, std::string(what) + std::string(path));
}

bool forbidden(char c) {
  const auto code = static_cast<unsigned char>(c);
  return c == '*' || code < 0x20 || code == 0x7f;
}

}  // namespace

std::pair<std::string_view, std::string_view> first_segment(std::string_view path) {
  const auto slash = path.find('/');
  if (slash == path.npos) return {path, {}};
  return {path.substr(0, slash), path.substr(slash + 1)};
}

bool is_path_pattern(std::string_view path) {
  while (!path.empty()) {
    const auto [segment, rest] = first_segment(path);
    if (segment == "*" || (segment == "**" && rest.empty())) return true;
    path = rest;
  }
  return false;
}

bool path_matches(std::string_view pattern, std::string_view path) {
  while (true) {
    const auto [wanted, pattern_rest] = first_segment(pattern);
    const auto [segment, path_rest] = first_segment(path);
    const bool last_wanted = wanted.size() == pattern.size();
    const bool last_segment = segment.size() == path.size();
    if (segment.empty()) return false;
    if (last_wanted && wanted == "**") return true;
    if (last_wanted != last_segment || (wanted != "*" && wanted != segment)) return false;
    if (last_wanted) return true;
    pattern = pattern_rest;
    path = path_rest;
  }
}

void check_new_path(std::string_view path) {
  if (path.empty() || path.front() == '/' || path.back() == '/' || path.find("//") != path.npos) {
    refuse("Empty segment in path: ", path);
  }
  if (std::any_of(path.begin(), path.end(), forbidden)) {
    refuse("'*' or a control character in path: ", path);
  }
}

}  // namespace nx
