// A descriptor for the log's lines that is never waited for: a pipe whose reader has stopped, a
// paused terminal, a hung journal. What it does not accept at once waits here, up to a limit, and
// is written before the next line; lines beyond the limit are lost and counted. Not thread-safe.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace note_log {

class waitless_output {
 public:
  static constexpr std::size_t most_waiting_bytes = std::size_t{256} * 1024;

  explicit waitless_output(int descriptor) : descriptor_(descriptor) {}

  /// One line with its end.
  void write(std::string_view line);
  /// Lines lost since the last call; 0 as long as others are still waiting, so that the count
  /// appears where the gap is.
  unsigned take_lost();
  /// Waits at most this long for the pending lines to be written.
  void drain(std::chrono::milliseconds limit);

 private:
  bool takes_more(std::chrono::milliseconds limit) const;
  bool write_some();

  const int descriptor_;
  std::string waiting_;
  unsigned lost_ = 0;
};

}  // namespace note_log
