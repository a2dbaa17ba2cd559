#include "platform/note_log/line_layout.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "platform/wire/shown_text.h"

namespace note_log {

namespace {

constexpr std::string_view trace_opening = " [at ";

/// Where the code trace begins, or npos. A trace is " [at FILE:LINE]" at the very end.
std::size_t find_trace(std::string_view text) {
  if (text.empty() || text.back() != ']') return std::string_view::npos;
  const auto begin = text.rfind(trace_opening);
  if (begin == std::string_view::npos) return begin;
  const auto colon = text.rfind(':');
  const auto number = text.substr(colon + 1, text.size() - colon - 2);
  const bool is_line = colon != std::string_view::npos && colon > begin && !number.empty() &&
                       number.find_first_not_of("0123456789") == std::string_view::npos;
  return is_line ? begin : std::string_view::npos;
}

void append_on_one_line(std::string& line, std::string_view text) {
  while (!text.empty() && text.back() == '\n')
    text.remove_suffix(1);
  for (auto end = text.find('\n'); end != text.npos; end = text.find('\n')) {
    nx::append_shown_text(line, text.substr(0, end));
    line += " | ";
    text.remove_prefix(end + 1);
  }
  nx::append_shown_text(line, text);
}

std::string timestamp(std::chrono::system_clock::time_point time) {
  const auto since_epoch = time.time_since_epoch();
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch).count() % 1000;
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                     fmt::gmtime(std::chrono::system_clock::to_time_t(time)), milliseconds);
}

}  // namespace

std::string severity_word(severity_level severity) {
  switch (severity) {
    case error:
      return "error";
    case warning:
      return "warning";
    case info:
      return "info";
    case debug:
      return "debug";
  }
  return std::to_string(static_cast<int>(severity));
}

std::string_view short_channel(std::string_view channel) {
  const auto slash = channel.substr(0, channel.find(':')).rfind('/');
  return slash == std::string_view::npos ? channel : channel.substr(slash + 1);
}

record split_trace(severity_level severity, std::string channel, std::string text) {
  record rec{severity, std::move(channel), std::move(text), {}};
  const auto begin = find_trace(rec.text);
  if (begin != std::string::npos) {
    rec.trace = rec.text.substr(begin);
    rec.text.resize(begin);
  }
  return rec;
}

std::string message_of(const record& rec, bool show_trace) {
  std::string message;
  append_on_one_line(message, short_channel(rec.channel));
  if (!rec.subject.empty()) append_on_one_line(message, fmt::format(" [{}]", rec.subject));
  message += ": ";
  append_on_one_line(message, rec.text);
  if (show_trace) append_on_one_line(message, rec.trace);
  return message;
}

std::string layout(const record& rec, std::chrono::system_clock::time_point time,
                   line_style style) {
  const auto message = message_of(rec, style.show_trace);
  if (style.journal) return fmt::format("<{}>{}\n", static_cast<int>(rec.severity), message);
  return fmt::format("{} {} {}\n", timestamp(time), severity_word(rec.severity), message);
}

}  // namespace note_log
