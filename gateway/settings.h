// The limits and periods of the gateway in one place, so that tests can make them short. Each limit
// has an answer of its own with the limit in it.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

namespace gateway {

struct settings {
  using milliseconds = std::chrono::milliseconds;

  std::size_t connections = 256;
  /// Connections beyond that which are told so before they are closed; further ones are only
  /// closed.
  std::size_t refusals = 64;
  std::size_t event_streams = 128;
  std::size_t header_bytes = 16 * 1024;
  std::size_t body_bytes = 64 * 1024;
  /// Answers that wait in all connections together.
  std::size_t answer_bytes = 48 * 1024 * 1024;
  /// One piece of an event stream; more follows when its client has taken it.
  std::size_t event_piece_bytes = 256 * 1024;
  /// Paths whose history is looked through for a stream that resumes.
  std::size_t resumed_paths = 256;

  milliseconds handshake_time{10'000};
  milliseconds header_time{
      10'000};  ///< from the connection, or the answer before, to the last byte
  milliseconds body_time{10'000};
  milliseconds idle_time{60'000};  ///< between two requests
  milliseconds stuck_time{
      30'000};  ///< an answer or a piece of a stream that its client does not take
  milliseconds heartbeat{15'000};
  /// Events of a stream are gathered for this long.
  milliseconds event_pause{200};
  milliseconds tree_answer{5'000};
  /// To the next try of a pattern that the tree refuses; what is no missing path waits up to 64
  /// times as long.
  milliseconds tree_retry{1'000};

  std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
};

}  // namespace gateway
