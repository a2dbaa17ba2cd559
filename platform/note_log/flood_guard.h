// Keeps a log readable when a loop says the same in every turn: within a second, the first ten
// records with the same text, subject and channel pass; the others become one summary. Time is
// passed in; the caller locks.
#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/note_log/record.h"

namespace note_log {

class flood_guard {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  static constexpr unsigned records_per_window = 10;
  static constexpr std::chrono::seconds window{1};
  /// Number of texts watched at a time; a new text beyond that passes unwatched, so that memory is
  /// bounded.
  static constexpr std::size_t max_watched = 1024;

  /// Whether the record passes.
  bool admit(const record& rec, time_point now);

  /// Summaries ("repeated N times: TEXT") of the windows that ended by `now`.
  std::vector<record> take_summaries(time_point now);

  /// Summaries of all windows, ended or not; forgets everything.
  std::vector<record> take_all();

 private:
  struct watched {
    std::string key;
    record first;
    time_point begin;
    unsigned seen;
  };
  static void summarize(const watched& entry, std::vector<record>& summaries);

  std::list<watched> by_age;  // oldest first
  std::unordered_map<std::string, std::list<watched>::iterator> by_key;
};

}  // namespace note_log
