// The daemon's own layer over note_log: a threshold that can be changed at run time, fmt
// formatting, and the call's location as the record's channel. All threads log.
//
// Levels: 0 rare detail, 1 per-cycle report, 2 ordinary message and failure.
#pragma once

#include <fmt/format.h>

#include <atomic>
#include <string>
#include <string_view>

class logger {
 public:
  static logger& instance();

  /// Drops messages of a lower level before anything is formatted. `function` may be a full
  /// signature; the channel shows its short name.
  template <class... Args>
  static void log(int message_level, const char* file, int line, const char* function,
                  fmt::format_string<Args...> format, Args&&... args) {
    if (instance().level.load(std::memory_order_relaxed) > message_level) return;
    instance().write(file, line, function, format, fmt::make_format_args(args...));
  }

  /// "debug" 0, "verbose" 1, anything else 2.
  static unsigned get_log_level(const std::string& text);

  std::atomic<int> level{2};

 private:
  logger() = default;
  void write(const char* file, int line, const char* function, fmt::string_view format,
             fmt::format_args args);
};

/// What this thread's log lines are about while the object lives, where the same code serves both
/// directions and all channels. Shown next to the record's channel; if nested, the inner one is
/// used.
class log_subject {
 public:
  /// "rx" or "tx"; the text must outlive the object.
  explicit log_subject(const char* direction, unsigned channel = 0);
  ~log_subject();
  log_subject(const log_subject&) = delete;
  log_subject& operator=(const log_subject&) = delete;

 private:
  const char* outer_direction_;
  unsigned outer_channel_;
};

/// A record above the threshold, with a severity (3 error, 4 warning, 7 debug) and a channel of its
/// own. The call's code trace is appended, as everywhere in the node's services.
void log_direct(int severity, const char* channel, const std::string& text, const char* file,
                int line);

// Uses the signature, since inside a lambda it still names the enclosing function, where __func__
// is "operator()".
#define LUMORA_LOG(level, ...) \
  ::logger::log(level, __FILE__, __LINE__, __PRETTY_FUNCTION__, __VA_ARGS__)
#define LUMORA_LOG_DIRECT(severity, channel, text) \
  ::log_direct(severity, channel, text, __FILE__, __LINE__)
