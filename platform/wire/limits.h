// Limits of the tree protocol. Each has its own error text with the limit in it.
#pragma once

#include <chrono>
#include <cstddef>

namespace nx::limits {

inline constexpr std::size_t line_bytes = 1024 * 1024;
inline constexpr std::size_t string_bytes = 64 * 1024;
inline constexpr std::size_t nesting = 64;
inline constexpr std::size_t batch = 1000;
inline constexpr std::size_t sessions = 256;
inline constexpr std::size_t sessions_for_root = 8;  // of these
inline constexpr std::size_t link_sessions = 16;
inline constexpr std::size_t link_sessions_for_neighbour = 1;  // of these
inline constexpr std::chrono::seconds silent_link_session{60};
inline constexpr std::size_t subscriptions_per_session = 10000;
/// They are kept as long as the session, and may match nothing.
inline constexpr std::size_t pattern_bytes_per_session = 512 * 1024;
inline constexpr std::size_t output_bytes_per_session = 8 * 1024 * 1024;
/// Pending answers in all sessions of a server together; beyond it large requests have to wait.
inline constexpr std::size_t answer_bytes_of_server = 64 * 1024 * 1024;
/// Requests that clients left behind who have gone; beyond it they are not done.
inline constexpr std::size_t left_bytes_of_server = 16 * 1024 * 1024;
inline constexpr std::chrono::seconds stuck_session{30};

}  // namespace nx::limits
