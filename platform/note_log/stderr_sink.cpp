#include "platform/note_log/stderr_sink.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/log/attributes/value_extraction.hpp>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace note_log {

namespace {

/// One call for a line, so that lines of several processes on one terminal stay whole.
void write_to_stderr(std::string_view line) {
  while (!line.empty()) {
    const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return;  // there is no better place to complain
    }
    line.remove_prefix(static_cast<std::size_t>(written));
  }
}

record to_record(const boost::log::record_view& view) {
  const auto severity = boost::log::extract<severity_level>("Severity", view);
  const auto channel = boost::log::extract<std::string>("Channel", view);
  const auto text = boost::log::extract<std::string>("Message", view);
  return split_trace(severity ? *severity : info, channel ? *channel : std::string(),
                     text ? *text : std::string());
}

}  // namespace

void stderr_sink::consume(const boost::log::record_view& view) {
  const record rec = to_record(view);
  if (observer) observer(rec);
  const auto now = std::chrono::steady_clock::now();
  for (const auto& summary : guard.take_summaries(now))
    put(summary);
  if (guard.admit(rec, now)) put(rec);
}

void stderr_sink::flush() {
  for (const auto& summary : guard.take_all())
    put(summary);
}

void stderr_sink::set_style(line_style new_style) {
  style = new_style;
  journal.reset();
  if (style.journal) journal.emplace();
}

// A line on stderr reaches the journal too, with its priority alone.
void stderr_sink::put(const record& rec) {
  if (journal) {
    const auto message = message_of(rec, style.show_trace);
    if (journal->send(journal_entry(rec, message, program_invocation_short_name))) return;
  }
  write_to_stderr(layout(rec, std::chrono::system_clock::now(), style));
}

bool stderr_is_journal() {
  const char* journal = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (journal == nullptr || ::fstat(STDERR_FILENO, &status) != 0) return false;
  return fmt::format("{}:{}", status.st_dev, status.st_ino) == journal;
}

}  // namespace note_log
