// A subscriber's newest values by path, and what is known of each. Subscriptions share the table,
// so a value that arrives while the subscriber is being destroyed still has a place to go.
//
// The client library's I/O thread stores; the loops and the server's threads read. Nothing blocks.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>

#include "helpers/waiting.h"

namespace device {

/// The newest value of a path and what is known of its freshness. The first value of a subscription
/// may be as old as the nexel's last measurement: only a different one, also compared with the
/// previous subscription's last value, proves that the device is measuring.
template <class T>
struct reading {
  T value{};
  std::chrono::steady_clock::time_point arrived{};  ///< when this value arrived, changed or not
  std::uint32_t arrivals = 0;                       ///< in this subscription, including the first
  std::uint32_t changes = 0;  ///< arrivals that differed from the value before
  bool is_sound = false;  ///< the newest report was a measured value of the present subscription
};

/// A value that has just been read.
reading<float> reading_of_now(float value);

template <class T>
class value_table {
 public:
  /// `measured` is false for a legal value that does not represent a measurement.
  void store(const std::string& path, T value, bool measured) {
    const auto now = helpers::steady_now();
    const std::lock_guard lock(mutex_);
    auto& kept = values_[path];
    if (kept.is_there && kept.value != value) ++kept.changes;
    ++kept.arrivals;
    kept.value = std::move(value);
    kept.arrived = now;
    kept.is_there = true;
    kept.is_sound = measured;
    kept.is_answered = true;
    kept.failing_since.reset();
  }

  /// The newest report was not a value: the last one stays, but is no longer known. `missing`: the
  /// nexel has no such path.
  void spoil(const std::string& path, bool refused, bool missing) {
    const auto now = helpers::steady_now();
    const std::lock_guard lock(mutex_);
    auto& kept = values_[path];
    kept.is_sound = false;
    kept.is_answered = true;
    kept.is_refused = refused;
    if (missing) {
      kept.failing_since.reset();
    } else if (!kept.failing_since) {
      kept.failing_since = now;
    }
  }

  /// The value of an earlier subscription stays until this one has delivered one.
  void begin_subscription(const std::string& path) {
    const std::lock_guard lock(mutex_);
    auto& kept = values_[path];
    kept.arrivals = 0;
    kept.changes = 0;
    kept.is_sound = kept.is_answered = kept.is_refused = false;
    kept.failing_since.reset();
  }

  void forget(const std::string& path) {
    const std::lock_guard lock(mutex_);
    values_.erase(path);
  }

  std::optional<reading<T>> find(const std::string& path) const {
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(path);
    if (found == values_.end() || !found->second.is_there) return std::nullopt;
    return found->second;
  }

  /// Empty unless the newest report of the present subscription was a measured value.
  std::optional<reading<T>> find_known(const std::string& path) const {
    auto found = find(path);
    if (found && !found->is_sound) found.reset();
    return found;
  }

  /// Since when each report on a path that the nexel has was something else than a value; empty
  /// while the newest is a value, measured or not.
  std::optional<std::chrono::steady_clock::time_point> failing_since(
      const std::string& path) const {
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(path);
    return found == values_.end() ? std::nullopt : found->second.failing_since;
  }

  /// The nexel has answered the present subscription, with a value or a failure.
  bool is_answered(const std::string& path) const {
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(path);
    return found != values_.end() && found->second.is_answered;
  }

  /// There is a value, even an earlier one, or the nexel has refused the subscription.
  bool is_settled(const std::string& path) const {
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(path);
    return found != values_.end() && (found->second.is_there || found->second.is_refused);
  }

 private:
  struct entry : reading<T> {
    bool is_there = false;
    bool is_answered = false;  // of the present subscription
    bool is_refused = false;   // the present subscription was refused at its last try
    std::optional<std::chrono::steady_clock::time_point> failing_since{};
  };

  mutable std::shared_mutex mutex_;  // no other mutex is taken under it
  std::map<std::string, entry> values_;
};

}  // namespace device
