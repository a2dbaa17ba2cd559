// Greedy clients, as threads of the test, and their effect on a node: the gaps between its cycles,
// the reads of another client, its memory and threads.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/process.h"

namespace test {

/// Runs `attack` again and again on each of so many threads until the object goes. What it throws
/// ends one round.
class storm {
 public:
  storm(unsigned threads, std::function<void()> attack);
  ~storm();
  storm(const storm&) = delete;
  storm& operator=(const storm&) = delete;

 private:
  std::atomic<bool> stop_{false};
  std::vector<std::jthread> threads_;
};

/// Attacks; each call is one round. A socket is a path, or "HOST PORT".
void connect_subscribe_close(const std::string& socket);
void get_everything(const std::string& socket);
/// A pipeline of large questions, read to its end.
void pipeline_info(const std::string& socket);

struct figures {
  double longest_gap_s = 0;  ///< between the beginnings of two cycles
  double slowest_get_ms = 0;
  /// By how much the machine woke a thread of this process too late, at the worst: none of the
  /// daemon's doing, and what each hand-over of a cycle or a read may take longer.
  double lateness_ms = 0;
  double resident_mib = 0;  ///< the most that was seen
  unsigned threads = 0;
};

/// Reads a value of the daemon on `socket` every 20 ms for so long. Cycles show in its output,
/// which has to be verbose.
figures watch(process& daemon, const std::string& socket, std::chrono::milliseconds time);

std::string text_of(const figures& found);

}  // namespace test
