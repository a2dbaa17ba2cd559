#include "platform/note_log/flood_guard.h"

#include <fmt/format.h>

namespace note_log {

void flood_guard::summarize(const watched& entry, std::vector<record>& summaries) {
  if (entry.seen <= records_per_window) return;
  record summary = entry.first;
  summary.text =
      fmt::format("repeated {} times: {}", entry.seen - records_per_window, summary.text);
  summaries.push_back(std::move(summary));
}

bool flood_guard::admit(const record& rec, time_point now) {
  auto key = key_of(rec);
  if (const auto found = by_key.find(key); found != by_key.end()) {
    return ++found->second->seen <= records_per_window;
  }
  if (by_age.size() >= max_watched) return true;
  by_age.push_back({key, rec, now, 1});
  by_key.emplace(std::move(key), std::prev(by_age.end()));
  return true;
}

std::vector<record> flood_guard::take_summaries(time_point now) {
  std::vector<record> summaries;
  while (!by_age.empty() && now - by_age.front().begin >= window) {
    summarize(by_age.front(), summaries);
    by_key.erase(by_age.front().key);
    by_age.pop_front();
  }
  return summaries;
}

std::vector<record> flood_guard::take_all() {
  std::vector<record> summaries;
  for (const auto& entry : by_age)
    summarize(entry, summaries);
  by_key.clear();
  by_age.clear();
  return summaries;
}

}  // namespace note_log
