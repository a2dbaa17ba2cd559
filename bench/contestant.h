// What is compared: a server in a separate process and its client in this one. Each operation
// returns once everything it caused has been read and parsed.
#pragma once

#include <sys/types.h>

namespace bench {

constexpr unsigned in_flight = 32;
constexpr unsigned together = 300;  // values of a batch, a pattern
constexpr unsigned burst = 32;      // events that a loop publishes at once
constexpr unsigned most_listeners = 64;

class contestant {
 public:
  virtual ~contestant() = default;
  virtual pid_t server() const = 0;

  virtual void get() = 0;
  virtual void get_in_flight() = 0;
  virtual void get_batch() = 0;
  virtual void get_by_pattern() = 0;

  /// From now on this many listeners get every event.
  virtual void listen(unsigned listeners) = 0;
  virtual void event() = 0;
  virtual void event_burst() = 0;
  /// One client writes; another, or itself, has received the event, and the write is answered.
  virtual void set_and_hear() = 0;
  virtual void set_and_hear_oneself() = 0;
};

}  // namespace bench
