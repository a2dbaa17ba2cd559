// The log of the node's services: records with a severity and a channel, over Boost.Log. Only .cpp
// files include this header.
//
// Records go to stderr, one readable line each ("TIME severity channel: text"), or with the
// journal's priority prefixes when stderr is the journal. The channel shows the file's base name.
#pragma once

#include <boost/log/sources/global_logger_storage.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>
#include <functional>
#include <string>

namespace note_log {

enum severity_level : int { error = 3, warning = 4, info = 6, debug = 7 };

using logger_t = boost::log::sources::severity_channel_logger<severity_level, std::string>;

/// A text that locates a piece of code. Part of the record's text, taken out of the readable line
/// unless the library is set to show it.
std::string getCodeTrace(const std::string& file, unsigned line);

struct record {
  severity_level severity;
  std::string channel;
  std::string text;
};

/// Writes one record to the library, whatever the daemon's own threshold. Safe from any thread.
void write(severity_level severity, const std::string& channel, const std::string& text);

/// Settings of the library, from its own environment: NOTE_LOG_SEVERITY (lowest severity shown:
/// "error", "warning", "info", "debug"; default "info"), NOTE_LOG_TRACE=1 (show code traces).
void configure_from_environment();

/// Every record that passes, before layout: for tests. Empty takes it off.
void set_observer(std::function<void(const record&)> observer);

}  // namespace note_log

BOOST_LOG_GLOBAL_LOGGER(note_log_slg, note_log::logger_t)
