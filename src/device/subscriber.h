// Readings that arrive on their own: the subscribed paths of one nexel, and a table of their newest
// values, which the loops read many times in a cycle without a round trip. After a failure a path
// is no longer operational, and its owner repairs it by subscribing again.
//
// The client library's I/O thread writes the values; the loops and the server's command threads do
// everything else. `get` never waits for the nexel.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "device/reading_kind.h"
#include "device/subscriber_values.h"

class nexel_client_api;

namespace device {

template <class T>
struct subscription_table;

enum class value_type { number, truth, text };

/// A path to subscribe to; `kind` determines how its numbers are judged.
struct wanted_path {
  value_type type = value_type::number;
  std::string path;
  reading_kind kind = reading_kind::any_number;
};

template <class... Types>
class _subscriber {
 public:
  /// `nexel` names the device in log lines about refused numbers.
  explicit _subscriber(std::string nexel = "device");
  ~_subscriber();
  _subscriber(const _subscriber&) = delete;
  _subscriber& operator=(const _subscriber&) = delete;

  /// Returns once the first value is there; a healthy subscription is left as it is. T: bool,
  /// float, std::string. Throws nx_error -22 if the nexel refuses, no value arrives or the process
  /// stops.
  template <class T>
  void subscribe(std::shared_ptr<nexel_client_api> client, const std::string& path,
                 reading_kind kind = reading_kind::any_number);

  /// As `subscribe` for each, but all requests are sent together and awaited once. Returns the
  /// paths for which no value arrived, in the order of the list; those are subscribed to
  /// nevertheless.
  [[nodiscard]] std::vector<std::string> subscribe_all(
      const std::shared_ptr<nexel_client_api>& client, const std::vector<wanted_path>& paths);

  /// `subscribe_all` for callers to whom one missing path is a failure of all: throws the first
  /// failure.
  void subscribe_each(const std::shared_ptr<nexel_client_api>& client,
                      const std::vector<wanted_path>& paths);

  /// Sends the subscriptions of those paths that have no healthy one, without waiting.
  void request_all(const std::shared_ptr<nexel_client_api>& client,
                   const std::vector<wanted_path>& paths);

  /// The nexel has answered the subscription, with a value or a failure.
  bool is_answered(const wanted_path& wanted) const;
  bool has_value(const wanted_path& wanted) const;
  /// Since when the nexel, which has the path, reports errors or the impossible in place of a
  /// value; empty while it reports values, and before its first answer.
  std::optional<std::chrono::steady_clock::time_point> failing_since(
      const wanted_path& wanted) const;

  /// Subscribes again to paths that the nexel has removed from its tree meanwhile; their values are
  /// discarded. After other failures the client library asks again by itself.
  void resubscribe_ended(const std::shared_ptr<nexel_client_api>& client,
                         const std::vector<wanted_path>& paths);

  /// The newest value, also of a path that has been dropped. Every type has its own table. Throws
  /// nx_error -22 "No value for path: PATH".
  template <class T>
  T get(const std::string& path) const;
  /// As `get`, with its age.
  template <class T>
  reading<T> get_reading(const std::string& path) const;
  /// For decisions about writes. Empty unless the newest report of the present subscription was a
  /// measured value: that is, before the first value, in error, after the end, or while values are
  /// refused.
  template <class T>
  std::optional<reading<T>> find_known(const std::string& path) const;

  void unsubscribe(const std::string& path);
  void reset();

  /// False while a path has failed and has not been subscribed to again. Paths that have ended, or
  /// failed more than ten times in a row, are dropped by the next call.
  bool is_operational();

  /// True once after `is_operational` has dropped paths: from then on their values do not change
  /// until the owner subscribes again.
  bool take_dropped() { return dropped_.exchange(false); }

 private:
  template <class T>
  void request(nexel_client_api& client, const std::string& path, reading_kind kind);
  template <class T>
  auto make_subscription(nexel_client_api& client, const std::string& path, reading_kind kind);
  bool is_settled(const wanted_path& wanted) const;
  void _cleanup();

  template <class T>
  using table_ptr = std::shared_ptr<subscription_table<T>>;
  template <class T>
  const table_ptr<T>& table() const {
    return std::get<table_ptr<T>>(tables_);
  }

  const std::string nexel_;
  std::tuple<table_ptr<Types>...> tables_;
  std::mutex mutex_;  // guards the subscriptions; each table guards its values
  std::atomic<bool> dropped_{false};
};

using subscriber = _subscriber<float, std::string, bool, int, unsigned int>;

}  // namespace device
