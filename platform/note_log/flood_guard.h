// Keeps a log readable when a loop says the same in every turn: within a second, the first ten
// records with the same text, subject and channel pass; the others become one summary. Time is
// passed in; the caller locks.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/note_log/record.h"
#include "platform/note_log/watch_list.h"

namespace note_log {

class flood_guard {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  static constexpr unsigned records_per_window = 10;
  static constexpr std::chrono::seconds window{1};

  /// Whether the record passes; one that can no longer be watched does.
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

  watch_list<watched> texts_;
};

}  // namespace note_log
