// The library's only sink: lays records out and writes them to stderr, or sends them to the journal
// if stderr is the journal. Never waits for either, since every thread of the daemon logs.
// Boost.Log's frontend calls it with one record at a time. Only the library's own .cpp files
// include this header.
#pragma once

#include <unistd.h>

#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/frontend_requirements.hpp>
#include <functional>
#include <optional>

#include "platform/note_log/flood_guard.h"
#include "platform/note_log/journal.h"
#include "platform/note_log/line_layout.h"
#include "platform/note_log/repeat_fold.h"
#include "platform/note_log/waitless_output.h"

namespace note_log {

namespace sinks = boost::log::sinks;

class stderr_sink
    : public sinks::basic_sink_backend<
          sinks::combine_requirements<sinks::synchronized_feeding, sinks::flushing>::type> {
 public:
  void consume(const boost::log::record_view& view);
  void flush();

  void set_style(line_style new_style);
  void set_observer(std::function<void(const record&)> new_observer) {
    observer = std::move(new_observer);
  }

 private:
  void put(const record& rec);
  void write_line(const record& rec);
  void tell_lost();

  line_style style;
  std::optional<journal_socket> journal;
  flood_guard guard;
  repeat_fold fold;
  waitless_output output{STDERR_FILENO};
  std::function<void(const record&)> observer;
};

/// JOURNAL_STREAM names the device and inode that stderr is.
bool stderr_is_journal();

}  // namespace note_log
