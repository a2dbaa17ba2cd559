// A text that repeats is written once, and once more when it has ended: the log shows a fault when
// it begins and when it ends, with how often it occurred and for how long. Of many different texts
// from one place in the code at once, such as one per channel, the first few are written and the
// rest are counted. Time is passed in; the caller locks.
#pragma once

#include <chrono>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/note_log/record.h"
#include "platform/note_log/watch_list.h"

namespace note_log {

class repeat_fold {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// A text that has not occurred for this long has ended.
  static constexpr std::chrono::seconds quiet{30};
  /// A reminder in between, while it continues.
  static constexpr std::chrono::seconds sign_of_life{3600};
  static constexpr unsigned lines_of_a_place = 4;
  static constexpr std::chrono::seconds burst{2};

  /// Whether the record is written now; one that can no longer be watched is.
  bool admit(const record& rec, time_point now);

  /// Reports on what has ended by `now`, or has gone on for another hour.
  std::vector<record> take_summaries(time_point now);
  /// Reports on everything, and forgets it.
  std::vector<record> take_all();

 private:
  struct watched {
    std::string key;
    record newest;
    time_point begin;
    time_point last;
    time_point told;
    unsigned untold = 0;   // since `told`
    unsigned written = 1;  // of a place, in this burst
  };

  bool admit_text(const record& rec, time_point now);
  bool admit_of_place(const record& rec, time_point now);
  static void summarize(const watched& entry, bool of_place, std::vector<record>& summaries);

  // The one that was seen last is the youngest.
  watch_list<watched> texts_;
  watch_list<watched> places_;
};

}  // namespace note_log
