// The log of the node's services: records with a severity and a channel, over Boost.Log. Only .cpp
// files include this header.
//
// Records go to stderr, one readable line each ("TIME severity channel [subject]: text"), or, if
// stderr is the journal, to the journal as entries with fields. The channel shows the file's base
// name. The same text of the same subject on the same channel more than ten times in a second
// becomes one line.
#pragma once

#include <boost/log/sources/global_logger_storage.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>
#include <functional>
#include <string>

#include "platform/note_log/record.h"

namespace note_log {

using logger_t = boost::log::sources::severity_channel_logger<severity_level, std::string>;

/// A text that locates a piece of code. It is part of the record's text, but not shown on the line
/// unless the library is set to do so.
std::string getCodeTrace(const std::string& file, unsigned line);

/// Opens a record; empty (false) if the library's filter rejects it. Setting severity and channel
/// and opening it is one step, safe from any thread.
boost::log::record open_record(severity_level severity, const std::string& channel,
                               const std::string& subject = {}, folding folds = folding::none);

/// Completes an opened record with its text, code trace included.
void push_record(boost::log::record&& record, const std::string& text);

/// Writes one record to the library, whatever the daemon's own threshold. Safe from any thread.
void write(severity_level severity, const std::string& channel, const std::string& text,
           folding folds = folding::none);

/// What is wrong with NOTE_LOG_SEVERITY, in one sentence; empty if nothing is.
std::string severity_fault();

/// Settings of the library, from the environment: NOTE_LOG_SEVERITY (lowest severity shown:
/// "error", "warning", "info", "debug"; default "info"), NOTE_LOG_TRACE=1 (show code traces). Read
/// at the first record; called again only by tests.
void configure_from_environment();

/// Receives every record that passes the filter, before flood guard and layout: for tests. One
/// record at a time, on the logging thread. An empty function removes it; afterwards no call is in
/// progress.
void set_observer(std::function<void(const record&)> observer);

/// Writes what the flood guard still holds back. Called at the end of a process.
void flush();

}  // namespace note_log

BOOST_LOG_GLOBAL_LOGGER(note_log_slg, note_log::logger_t)
