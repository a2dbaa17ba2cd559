// One event line, written once and shared by all who receive it. Holders count themselves, and the
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
  /// The whole JSON-RPC message, without the line end.
  explicit nx_event(std::string text) : line(std::move(text)) {}
  const std::string line;

  /// Counts so many holders beforehand; each takes its share by `held_already`.
  void hold_for(std::size_t holders) const {
    holders_.fetch_add(holders, std::memory_order_relaxed);
  }

 private:
  friend void intrusive_ptr_add_ref(const nx_event* held) { held->hold_for(1); }
  friend void intrusive_ptr_release(const nx_event* held) {
    if (held->holders_.fetch_sub(1, std::memory_order_acq_rel) == 1)
      std::default_delete<const nx_event>()(held);
  }

  mutable std::atomic<std::size_t> holders_{0};
};

using nx_event_ptr = boost::intrusive_ptr<const nx_event>;

inline nx_event_ptr make_event(std::string line) {
  return {new nx_event(std::move(line))};
}
/// A holder's share of what `hold_for` has counted.
inline nx_event_ptr held_already(const nx_event_ptr& event) {
  return {event.get(), false};
}
