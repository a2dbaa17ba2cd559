// One record of the log as the library passes it to its sinks. No Boost.Log here.
#pragma once

#include <string>

namespace note_log {

/// The numbers are the priorities of syslog and of the journal.
enum severity_level : int { error = 3, warning = 4, info = 6, debug = 7 };

/// What may be left out when a record is written: nothing; repetitions of the same text; or also
/// most of many different texts from one place.
enum class folding { none, repeats, places };

struct record {
  severity_level severity;
  std::string channel;
  std::string text;          ///< without the code trace
  std::string trace;         ///< as from getCodeTrace; empty if the text did not end with one
  std::string subject = {};  ///< what it is about, if the place in the code serves many; or empty
  folding folds = folding::none;
};

/// Equal for records that are the same line repeated.
inline std::string key_of(const record& rec) {
  return rec.channel + '\0' + rec.subject + '\0' + rec.text;
}

}  // namespace note_log
