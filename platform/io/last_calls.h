// Tells the device clients of an io_context that their process is ending: calls made from then on
// must be answered within the time left for those already pending, and clients that are not
// connected fail at once. A hung device then delays the exit by one time-out in total, instead of
// one per value.
#pragma once

#include <algorithm>
#include <atomic>
#include <boost/asio/execution_context.hpp>
#include <chrono>

namespace nx {

class last_calls : public boost::asio::execution_context::service {
 public:
  using clock = std::chrono::steady_clock;
  using key_type = last_calls;
  inline static boost::asio::execution_context::id id;

  explicit last_calls(boost::asio::execution_context& io) : service(io) {}

  /// `time_out`: that of a call made just before. Any thread; the first call counts.
  void announce(clock::duration time_out) {
    auto never = clock::time_point::max();
    end_.compare_exchange_strong(never, clock::now() + time_out);
  }

  bool announced() const { return end_.load() != clock::time_point::max(); }
  clock::time_point limited(clock::time_point deadline) const {
    return std::min(deadline, end_.load());
  }

 private:
  void shutdown() override {}

  std::atomic<clock::time_point> end_{clock::time_point::max()};
};

}  // namespace nx
