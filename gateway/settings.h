// The limits and periods of the gateway in one place, so that tests can make them short. Each limit
// has its own answer, which names the limit.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

namespace gateway {

struct settings {
  using milliseconds = std::chrono::milliseconds;

  std::size_t connections = 256;
  /// Number of connections beyond the limit that get an answer before they are closed; further ones
  /// are just closed.
  std::size_t refusals = 64;
  std::size_t event_streams = 128;
  std::size_t header_bytes = 16 * 1024;
  std::size_t body_bytes = 64 * 1024;
  /// Pending answers of all connections together.
  std::size_t answer_bytes = 48 * 1024 * 1024;
  /// Size of one piece of an event stream; the next is sent when its client has taken it.
  std::size_t event_piece_bytes = 256 * 1024;
  /// Number of paths whose history is searched for a stream that resumes.
  std::size_t resumed_paths = 256;

  milliseconds handshake_time{10'000};
  milliseconds header_time{
      10'000};  ///< from the connection, or the previous answer, to the last byte
  milliseconds body_time{10'000};
  milliseconds idle_time{60'000};  ///< between two requests
  milliseconds stuck_time{
      30'000};  ///< an answer or a piece of a stream that its client does not take
  milliseconds heartbeat{15'000};
  /// Events of a stream are collected for this long.
  milliseconds event_pause{200};
  milliseconds tree_answer{5'000};
  /// A tree that has said nothing for this long is asked something: a daemon that hangs keeps its
  /// connections.
  milliseconds tree_silence{2'000};
  /// Time to the next try of a pattern that the tree refuses; for errors other than a missing path
  /// it grows up to 64 times.
  milliseconds tree_retry{1'000};

  /// How often it is looked whether the certificate has expired.
  milliseconds certificate_check{60'000};

  std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
};

}  // namespace gateway
