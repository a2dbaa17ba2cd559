// Readings that arrive by themselves: the subscribed paths of one nexel and a table of their newest
// values, which the loops read many times in a cycle without a round trip. After a failure a path
// is not operational any more, and its owner repairs it by subscribing again.
//
// The client library's I/O thread writes the values; the loops and the server's command threads do
// the rest. `get` never waits for the nexel.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

class nexel_client_api;

namespace device {

template <class T>
struct subscription_table;

/// The newest value of a path and what is known of its freshness. The first value of a subscription
/// is as old as the nexel's last look: only another one tells that the device measures, be it than
/// the last of the subscription before.
template <class T>
struct reading {
  T value;
  std::chrono::steady_clock::time_point arrived;  ///< when this value, changed or not, came in
  std::uint32_t arrivals = 0;                     ///< of this subscription, the first included
  std::uint32_t changes = 0;                      ///< arrivals that differed from what was known
};

/// A value that was asked for just now.
reading<float> reading_of_now(float value);

template <class... Types>
class _subscriber {
 public:
  _subscriber();
  ~_subscriber();
  _subscriber(const _subscriber&) = delete;
  _subscriber& operator=(const _subscriber&) = delete;

  /// Returns when the first value is there; a healthy subscription is left as it is. T: bool,
  /// float, std::string. Throws nx_error -22 when no value comes or the process stops.
  template <class T>
  void subscribe(std::shared_ptr<nexel_client_api> client, const std::string& path);

  /// The newest value, also of a path that has been dropped. Every type has a table of its own.
  /// Throws nx_error -22 "No value for path: PATH".
  template <class T>
  T get(const std::string& path) const;
  /// As `get`, with its age.
  template <class T>
  reading<T> get_reading(const std::string& path) const;

  void unsubscribe(const std::string& path);
  void reset();

  /// False while a path has failed and was not subscribed again. Paths that ended, or failed more
  /// than ten times in a row, are dropped by the next call.
  bool is_operational();

  /// True once after `is_operational` has dropped paths: their values stand still from then on,
  /// until the owner subscribes again.
  bool take_dropped() { return dropped_.exchange(false); }

 private:
  template <class T>
  auto make_subscription(nexel_client_api& client, const std::string& path);
  template <class T>
  void wait_for_value(const std::string& path);
  void _cleanup();

  template <class T>
  using table_ptr = std::shared_ptr<subscription_table<T>>;
  std::tuple<table_ptr<Types>...> tables_;
  std::mutex mutex_;  // guards the subscriptions; each table guards its values
  std::atomic<bool> dropped_{false};
};

using subscriber = _subscriber<float, std::string, bool, int, unsigned int>;

}  // namespace device
