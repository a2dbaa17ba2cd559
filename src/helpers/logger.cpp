#include "helpers/logger.h"

#include "helpers/function_name.h"
#include "platform/note_log/note_log.h"

namespace {

/// Readers of the node's logs recognise this daemon's records by this trace. It is the same for
/// every message; the place of the call is in the channel.
constexpr unsigned trace_line = 31;

constexpr int ordinary = 2;

thread_local const char* subject_direction = nullptr;
thread_local unsigned subject_channel = 0;

std::string present_subject() {
  if (subject_direction == nullptr) return {};
  if (subject_channel == 0) return subject_direction;
  return fmt::format("{} {}", subject_direction, subject_channel);
}

}  // namespace

log_subject::log_subject(const char* direction, unsigned channel)
    : outer_direction_(subject_direction), outer_channel_(subject_channel) {
  subject_direction = direction;
  subject_channel = channel;
}

log_subject::~log_subject() {
  subject_direction = outer_direction_;
  subject_channel = outer_channel_;
}

logger& logger::instance() {
  static logger the_logger;
  return the_logger;
}

void logger::write(const char* file, int line, const char* function, fmt::string_view format,
                   fmt::format_args args) {
  const auto channel = fmt::format("{}:{}:{}", file, line, helpers::short_function_name(function));
  // A user who has raised the log level gets every line.
  const auto folds = level < ordinary ? note_log::folding::none : note_log::folding::places;
  auto record = note_log::open_record(note_log::info, channel, present_subject(), folds);
  if (!record) return;
  note_log::push_record(std::move(record),
                        fmt::vformat(format, args) + note_log::getCodeTrace(__FILE__, trace_line));
}

unsigned logger::get_log_level(const std::string& text) {
  if (text == "debug") return 0;
  if (text == "verbose") return 1;
  return 2;
}

void log_direct(int severity, const char* channel, const std::string& text, const char* file,
                int line) {
  note_log::write(
      static_cast<note_log::severity_level>(severity), channel,
      text + note_log::getCodeTrace(file, static_cast<unsigned>(line)),
      logger::instance().level < ordinary ? note_log::folding::none : note_log::folding::repeats);
}
