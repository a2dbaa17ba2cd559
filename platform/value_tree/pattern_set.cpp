#include "platform/value_tree/pattern_set.h"

#include <algorithm>

#include "platform/value_tree/path_pattern.h"

namespace nx {

void pattern_set::add(const std::string& pattern) {
  const auto at = std::lower_bound(sorted_.begin(), sorted_.end(), pattern);
  if (at != sorted_.end() && *at == pattern) return;
  sorted_.insert(at, pattern);
  bytes_ += pattern.size();
}

void pattern_set::remove(const std::string& pattern) {
  const auto at = std::lower_bound(sorted_.begin(), sorted_.end(), pattern);
  if (at == sorted_.end() || *at != pattern) return;
  bytes_ -= pattern.size();
  sorted_.erase(at);
}

bool pattern_set::contains(const std::string& pattern) const {
  return std::binary_search(sorted_.begin(), sorted_.end(), pattern);
}

bool pattern_set::covers(std::string_view path) const {
  std::string begun;
  return !sorted_.empty() && covers(sorted_.begin(), begun, path);
}

// Patterns with the same beginning are adjacent: each segment is looked for as it is and as a '*',
// and only beginnings that some pattern has are followed. `from` is the first pattern that begins
// with `begun`.
bool pattern_set::covers(place from, std::string& begun, std::string_view rest) const {
  const auto split = first_segment(rest);
  const auto segment = split.first;
  if (segment.empty()) return false;
  const bool last = segment.size() == rest.size();
  const auto size = begun.size();
  const auto goes_on_with = [&](std::string_view next) {
    begun.append(next);
    auto at = from;
    bool found = false;
    if (next == "**" || last) {
      found = has_from(at, begun) && *at == begun;
    } else {
      begun += '/';
      found = has_from(at, begun) && covers(at, begun, split.second);
    }
    begun.resize(size);
    return found;
  };
  return goes_on_with("**") || goes_on_with("*") || goes_on_with(segment);
}

// Moves `from` to the first pattern that begins with this.
bool pattern_set::has_from(place& from, std::string_view begun) const {
  from = std::lower_bound(from, sorted_.end(), begun);
  return from != sorted_.end() && from->starts_with(begun);
}

}  // namespace nx
