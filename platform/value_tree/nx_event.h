// One event, written once and shared by all who receive it. Holders count themselves, and the
// publisher counts for all at once: a band's cycle reaches thousands of holders, and each counting
// of its own costs as much as queuing the line. Any thread.
#pragma once

#include <atomic>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

class nx_event {
 public:
  /// A whole JSON-RPC message, or several in lines; the last line end is added if it is missing.
  explicit nx_event(std::string message) : lines(with_end(std::move(message))) {}
  const std::string lines;  ///< as they are sent

  /// Counts so many holders beforehand; each takes its share by `held_already`.
  void hold_for(std::size_t holders) const {
    holders_.fetch_add(holders, std::memory_order_relaxed);
  }

 private:
  static std::string with_end(std::string message) {
    if (!message.empty() && message.back() != '\n') message += '\n';
    return message;
  }

  friend void intrusive_ptr_add_ref(const nx_event* held) { held->hold_for(1); }
  friend void intrusive_ptr_release(const nx_event* held) {
    if (held->holders_.fetch_sub(1, std::memory_order_acq_rel) == 1)
      std::default_delete<const nx_event>()(held);
  }

  mutable std::atomic<std::size_t> holders_{0};
};

using nx_event_ptr = boost::intrusive_ptr<const nx_event>;

inline nx_event_ptr make_event(std::string message) {
  return {new nx_event(std::move(message))};
}
/// A holder's share of what `hold_for` has counted.
inline nx_event_ptr held_already(const nx_event_ptr& event) {
  return {event.get(), false};
}
