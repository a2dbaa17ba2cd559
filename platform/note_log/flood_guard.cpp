#include "platform/note_log/flood_guard.h"

#include <fmt/format.h>

#include <utility>

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
  if (auto* known = texts_.find(key)) return ++known->seen <= records_per_window;
  texts_.add({std::move(key), rec, now, 1});
  return true;
}

std::vector<record> flood_guard::take_summaries(time_point now) {
  std::vector<record> summaries;
  auto each = texts_.begin();
  while (each != texts_.end() && now - each->begin >= window) {
    summarize(*each, summaries);
    each = texts_.erase(each);
  }
  return summaries;
}

std::vector<record> flood_guard::take_all() {
  std::vector<record> summaries;
  for (const auto& each : texts_)
    summarize(each, summaries);
  texts_.clear();
  return summaries;
}

}  // namespace note_log
