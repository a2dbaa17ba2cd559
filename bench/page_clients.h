// Pages as the gateway sees them: connections that each opened the page's event stream. One thread
// of their own reads them all and notes how long after its time each event came.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bench {

class page_clients {
 public:
  /// `count` streams of `query` at 127.0.0.1:`port`. Throws std::runtime_error when one is refused.
  page_clients(unsigned count, unsigned port, const std::string& query);
  ~page_clients();
  page_clients(const page_clients&) = delete;
  page_clients& operator=(const page_clients&) = delete;

  struct figures {
    std::size_t events = 0;            ///< that came, all clients together
    std::chrono::milliseconds latest;  ///< the longest from the time that an event tells
  };
  /// Of the events whose time lies between the two.
  void begin();
  figures end();

 private:
  using clock = std::chrono::system_clock;

  struct client {
    int socket = -1;
    std::string line;  ///< so far
  };

  void read_all();
  void take(client& from, const char* bytes, std::size_t size);
  void note(const std::string& line);

  std::vector<client> clients_;
  std::mutex mutex_;  // guards what follows
  clock::time_point since_ = clock::time_point::max();
  figures found_{};

  std::jthread reader_;
};

}  // namespace bench
