// What is said again and again is said once, and once more when it has ended: a fault is in the
// log at its beginning and at its end, with how often it was met and for how long. Of many
// different texts from one place in the code at once, as one for each channel, the first few are
// written and the rest is counted. Time is handed in; the caller locks.
#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/note_log/record.h"

namespace note_log {

class repeat_fold {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// A text that has not come for so long has ended.
  static constexpr std::chrono::seconds quiet{30};
  /// A word in between of what goes on.
  static constexpr std::chrono::seconds sign_of_life{3600};
  static constexpr unsigned lines_of_a_place = 4;
  static constexpr std::chrono::seconds burst{2};
  /// Texts and places watched at a time; beyond it a new one passes unwatched.
  static constexpr std::size_t max_watched = 1024;

  /// Whether the record is written now.
  bool admit(const record& rec, time_point now);

  /// Of what has ended by `now`, or goes on for another hour.
  std::vector<record> take_summaries(time_point now);
  /// Of everything; forgets it.
  std::vector<record> take_all();

 private:
  struct watched {
    std::string key;
    record newest;
    time_point begin;
    time_point last;
    time_point told;
    unsigned untold = 0;  // since `told`
  };
  using list = std::list<watched>;
  struct watch {
    list by_age;  // the one that came last at the end
    std::unordered_map<std::string, list::iterator> by_key;

    watched* find(const std::string& key);
    void add(const std::string& key, const record& rec, time_point now);
    void renew(watched& entry);
    list::iterator forget(list::iterator entry);
  };

  bool admit_text(const record& rec, time_point now);
  bool admit_of_place(const record& rec, time_point now);
  static void summarize(const watched& entry, bool of_place, std::vector<record>& summaries);

  watch texts_;
  watch places_;
  std::unordered_map<std::string, unsigned> written_of_place_;
};

}  // namespace note_log
