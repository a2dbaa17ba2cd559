#include "platform/note_log/waitless_output.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace note_log {

namespace {

/// As many whole lines as a pipe takes without blocking once it is writable; a longer line is
/// split. Whole lines, so that those of several processes on one terminal stay intact.
std::size_t next_piece(std::string_view waiting) {
  const auto most = waiting.substr(0, PIPE_BUF);
  const auto end = most.rfind('\n');
  return end == most.npos ? most.size() : end + 1;
}

}  // namespace

void waitless_output::write(std::string_view line) {
  drain({});
  if (waiting_.size() + line.size() > most_waiting_bytes || lost_ > 0) {
    ++lost_;
    return;
  }
  waiting_ += line;
  drain({});
}

unsigned waitless_output::take_lost() {
  drain({});
  return waiting_.empty() ? std::exchange(lost_, 0U) : 0U;
}

void waitless_output::drain(std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!waiting_.empty()) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (!takes_more(std::max(left, std::chrono::milliseconds{})) || !write_some()) return;
  }
}

bool waitless_output::takes_more(std::chrono::milliseconds limit) const {
  pollfd ready{descriptor_, POLLOUT, 0};
  return ::poll(&ready, 1, static_cast<int>(limit.count())) == 1;
}

/// False if nothing more can be written now.
bool waitless_output::write_some() {
  const auto written = ::write(descriptor_, waiting_.data(), next_piece(waiting_));
  if (written >= 0) {
    waiting_.erase(0, static_cast<std::size_t>(written));
    return true;
  }
  if (errno == EINTR) return true;
  if (errno != EAGAIN) waiting_.clear();  // there is no better place to complain
  return false;
}

}  // namespace note_log
