// One record of the log as the library hands it to its sinks. No Boost.Log here.
#pragma once

#include <string>

namespace note_log {

/// The numbers are the priorities of syslog and of the journal.
enum severity_level : int { error = 3, warning = 4, info = 6, debug = 7 };

/// What may be left out where a record is written: nothing; the same text again; or also the rest
/// of many different texts from one place.
enum class folding { none, repeats, places };

struct record {
  severity_level severity;
  std::string channel;
  std::string text;   ///< without the code trace
  std::string trace;  ///< as getCodeTrace gave it; empty if the text ended without one
  std::string subject =
      {};  ///< whom it concerns, where the place in the code serves many; or empty
  folding folds = folding::none;
};

/// The same for records that are one and the same line said again.
inline std::string key_of(const record& rec) {
  return rec.channel + '\0' + rec.subject + '\0' + rec.text;
}

}  // namespace note_log
