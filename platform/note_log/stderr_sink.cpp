#include "platform/note_log/stderr_sink.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/log/attributes/value_extraction.hpp>
#include <chrono>
#include <cstdlib>

namespace note_log {

namespace {

/// How long the end of the process waits for a log that nobody reads.
constexpr std::chrono::milliseconds last_patience{300};

record to_record(const boost::log::record_view& view) {
  const auto severity = boost::log::extract<severity_level>("Severity", view);
  const auto channel = boost::log::extract<std::string>("Channel", view);
  const auto text = boost::log::extract<std::string>("Message", view);
  const auto subject = boost::log::extract<std::string>("Subject", view);
  auto rec = split_trace(severity ? *severity : info, channel ? *channel : std::string(),
                         text ? *text : std::string());
  if (subject) rec.subject = *subject;
  const auto folds = boost::log::extract<folding>("Folding", view);
  if (folds) rec.folds = *folds;
  return rec;
}

}  // namespace

void stderr_sink::consume(const boost::log::record_view& view) {
  const record rec = to_record(view);
  if (observer) observer(rec);
  const auto now = std::chrono::steady_clock::now();
  for (const auto& summary : guard.take_summaries(now))
    put(summary);
  for (const auto& summary : fold.take_summaries(now))
    put(summary);
  if (fold.admit(rec, now) && guard.admit(rec, now)) put(rec);
}

void stderr_sink::flush() {
  for (const auto& summary : fold.take_all())
    put(summary);
  for (const auto& summary : guard.take_all())
    put(summary);
  tell_lost();
  output.drain(last_patience);
}

void stderr_sink::set_style(line_style new_style) {
  style = new_style;
  journal.reset();
  if (style.journal) journal.emplace();
}

// A line on stderr reaches the journal too, but only with its priority.
void stderr_sink::put(const record& rec) {
  if (journal) {
    const auto message = message_of(rec, style.show_trace);
    if (journal->send(journal_entry(rec, message, program_invocation_short_name))) return;
  }
  tell_lost();
  write_line(rec);
}

void stderr_sink::tell_lost() {
  const auto lost = output.take_lost();
  if (lost == 0) return;
  write_line({warning, "note_log", fmt::format("{} lines of the log were lost", lost), {}});
}

void stderr_sink::write_line(const record& rec) {
  output.write(layout(rec, std::chrono::system_clock::now(), style));
}

bool stderr_is_journal() {
  const char* journal = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (journal == nullptr || ::fstat(STDERR_FILENO, &status) != 0) return false;
  return fmt::format("{}:{}", status.st_dev, status.st_ino) == journal;
}

}  // namespace note_log
