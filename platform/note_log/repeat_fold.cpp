#include "platform/note_log/repeat_fold.h"

#include <fmt/format.h>

#include <iterator>

namespace note_log {

bool repeat_fold::admit(const record& rec, time_point now) {
  if (rec.folds == folding::none) return true;
  if (!admit_text(rec, now)) return false;
  return rec.folds == folding::repeats || admit_of_place(rec, now);
}

bool repeat_fold::admit_text(const record& rec, time_point now) {
  const auto key = key_of(rec);
  auto* known = texts_.find(key);
  if (known == nullptr) {
    texts_.add({.key = key, .newest = rec, .begin = now, .last = now, .told = now});
    return true;
  }
  known->last = now;
  ++known->untold;
  texts_.renew(*known);
  return false;
}

bool repeat_fold::admit_of_place(const record& rec, time_point now) {
  auto* known = places_.find(rec.channel);
  if (known == nullptr) {
    places_.add({.key = rec.channel, .newest = rec, .begin = now, .last = now, .told = now});
    return true;
  }
  // The burst lasts as long as lines follow closely on each other.
  known->last = now;
  places_.renew(*known);
  if (known->written < lines_of_a_place) {
    ++known->written;
    return true;
  }
  known->newest = rec;
  ++known->untold;
  return false;
}

void repeat_fold::summarize(const watched& entry, bool of_place, std::vector<record>& summaries) {
  if (entry.untold == 0) return;
  const auto lasted =
      std::chrono::duration<double>(entry.last - (of_place ? entry.begin : entry.told)).count();
  record summary = entry.newest;
  summary.text =
      of_place ? fmt::format("{} more lines like these, the last: {}", entry.untold, summary.text)
               : fmt::format("repeated {} times within {:.0f} s: {}", entry.untold, lasted,
                             summary.text);
  summaries.push_back(std::move(summary));
}

std::vector<record> repeat_fold::take_summaries(time_point now) {
  std::vector<record> summaries;
  for (auto each = places_.begin(); each != places_.end() && now - each->last >= burst;) {
    summarize(*each, true, summaries);
    each = places_.erase(each);
  }
  for (auto each = texts_.begin(); each != texts_.end();) {
    const bool has_ended = now - each->last >= quiet;
    if (!has_ended && now - each->told < sign_of_life) {
      ++each;
      continue;
    }
    summarize(*each, false, summaries);
    each->told = now;
    each->untold = 0;
    each = has_ended ? texts_.erase(each) : std::next(each);
  }
  return summaries;
}

std::vector<record> repeat_fold::take_all() {
  std::vector<record> summaries;
  for (const auto& each : places_)
    summarize(each, true, summaries);
  for (const auto& each : texts_)
    summarize(each, false, summaries);
  *this = {};
  return summaries;
}

}  // namespace note_log
