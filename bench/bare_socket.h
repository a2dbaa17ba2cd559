// The limit: two processes that pass 64 bytes to each other and do nothing with them.
#pragma once

#include <vector>

#include "bench/child.h"
#include "bench/contestant.h"
#include "bench/socket_pair.h"

namespace bench {

class bare_socket : public contestant {
 public:
  bare_socket();

  pid_t server() const override { return child_.pid(); }
  void get() override { exchange(1); }
  void get_in_flight() override { exchange(in_flight); }
  void get_batch() override { exchange(together); }
  void get_by_pattern() override { exchange(together); }
  void listen(unsigned listeners) override { listeners_ = listeners; }
  void event() override { publish(1); }
  void event_burst() override { publish(burst); }
  void set_and_hear() override { publish(1); }
  void set_and_hear_oneself() override { exchange(1); }

 private:
  void exchange(unsigned messages);
  void publish(unsigned events);
  void echo() const;
  void publish_when_told() const;

  socket_pair requests_;
  socket_pair triggers_;
  std::vector<socket_pair> events_;
  child child_;
  unsigned listeners_ = 0;
  std::vector<char> buffer_;
};

}  // namespace bench
