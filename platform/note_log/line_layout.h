// The layout of a record on a line: pure functions of a record.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "platform/note_log/record.h"

namespace note_log {

/// "error", "warning", "info", "debug"; any other number as it is.
std::string severity_word(severity_level severity);

/// The channel without the folders of its file: "src/a/b.cpp:12:run" gives "b.cpp:12:run".
std::string_view short_channel(std::string_view channel);

/// Splits a code trace off the end of a text.
record split_trace(severity_level severity, std::string channel, std::string text);

struct line_style {
  bool journal = false;     ///< "<6>channel: text"; the journal adds the time
  bool show_trace = false;  ///< the code trace stays at the end of the line
};

/// "channel [subject]: text" on one line, without its line end: the text of a journal entry.
std::string message_of(const record& rec, bool show_trace);

/// One line with its line end. Line ends within the text become " | ", other control characters
/// "\xNN": a record never looks like two, and never sends commands to a terminal.
std::string layout(const record& rec, std::chrono::system_clock::time_point time, line_style style);

}  // namespace note_log
