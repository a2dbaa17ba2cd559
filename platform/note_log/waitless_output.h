// A descriptor that takes the log's lines and is never waited for: a pipe whose reader has stopped,
// a terminal that is held, a journal that hangs. What it does not take at once waits here, up to a
// limit, and goes out ahead of the next line; lines beyond the limit are lost and counted. Not
// thread-safe.
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
  /// Lines lost since the last call; 0 as long as others still wait, so that the account comes
  /// where the gap is.
  unsigned take_lost();
  /// Waits at most so long for what waits to go out.
  void drain(std::chrono::milliseconds limit);

 private:
  bool takes_more(std::chrono::milliseconds limit) const;
  bool write_some();

  const int descriptor_;
  std::string waiting_;
  unsigned lost_ = 0;
};

}  // namespace note_log
