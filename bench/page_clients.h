// Pages as the gateway sees them: each has the page's event stream, and asks every so often for the
// channel that it shows. One thread of their own reads them all and notes how long after its time
// each event came.
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
  /// `count` of them at 127.0.0.1:`port`: streams of `watched`, and values of `asked` once in
  /// `pace`; both are queries. Throws std::runtime_error when one is refused.
  page_clients(unsigned count, unsigned port, const std::string& watched, std::string asked,
               std::chrono::milliseconds pace);
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
    int stream = -1;
    int questions = -1;
    std::chrono::steady_clock::time_point next;  ///< when it asks
    std::string line;                            ///< of the stream, so far
  };

  void read_all();
  void ask(client& one) const;
  void take(client& from, const char* bytes, std::size_t size);
  void note(const std::string& line);

  const std::string asked_;
  const std::chrono::milliseconds pace_;
  std::vector<client> clients_;
  std::mutex mutex_;  // guards what follows
  clock::time_point since_ = clock::time_point::max();
  figures found_{};

  std::jthread reader_;
};

}  // namespace bench
