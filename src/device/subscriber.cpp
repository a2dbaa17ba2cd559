#include "device/subscriber.h"

#include <fmt/format.h>

#include <chrono>
#include <map>
#include <optional>
#include <shared_mutex>
#include <utility>
#include <vector>

#include "device/nexel_value_subscriber.h"
#include "device/path_event.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace device {
namespace {

constexpr std::chrono::microseconds try_interval{1};
constexpr unsigned try_limit = 1'000'000;

}  // namespace

reading<float> reading_of_now(float value) {
  return {.value = value,
          .arrived = helpers::waiting::instance().steady_now(),
          .arrivals = 1,
          .changes = 1};
}

/// The newest values of a type by path. Subscriptions share it, so that a value which arrives while
/// the subscriber is destroyed still has a place to go.
template <class T>
class value_table {
 public:
  void store(const std::string& path, T value) {
    const auto now = helpers::waiting::instance().steady_now();
    const std::lock_guard lock(mutex_);
    auto& kept = values_[path];
    if (kept.is_there && kept.value != value) ++kept.changes;
    ++kept.arrivals;
    kept.value = std::move(value);
    kept.arrived = now;
    kept.is_there = true;
  }

  /// The value of an earlier subscription stays until this one has delivered.
  void begin_subscription(const std::string& path) {
    const std::lock_guard lock(mutex_);
    auto& kept = values_[path];
    kept.arrivals = 0;
    kept.changes = 0;
  }

  std::optional<reading<T>> find(const std::string& path) const {
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(path);
    if (found == values_.end() || !found->second.is_there) return std::nullopt;
    return found->second;
  }

 private:
  struct entry : reading<T> {
    bool is_there = false;
  };

  mutable std::shared_mutex mutex_;  // nothing is taken under it
  std::map<std::string, entry> values_;
};

template <class T>
struct subscription_table {
  using subscription =
      std::pair<std::shared_ptr<path_event>, std::shared_ptr<nexel_value_subscriber<T>>>;

  std::map<std::string, subscription> subscriptions;
  std::shared_ptr<value_table<T>> values = std::make_shared<value_table<T>>();
};

template <class... Types>
_subscriber<Types...>::_subscriber() : tables_(std::make_shared<subscription_table<Types>>()...) {}

template <class... Types>
_subscriber<Types...>::~_subscriber() = default;

template <class... Types>
template <class T>
void _subscriber<Types...>::subscribe(std::shared_ptr<nexel_client_api> client,
                                      const std::string& path) {
  auto& table = *std::get<table_ptr<T>>(tables_);
  {
    const std::lock_guard lock(mutex_);
    const auto found = table.subscriptions.find(path);
    if (found == table.subscriptions.end() || !found->second.first->is_operational()) {
      table.subscriptions.erase(path);
      table.subscriptions.emplace(path, make_subscription<T>(*client, path));
    }
  }
  LUMORA_LOG(1, "Subscribing to path: {}", path);
  wait_for_value<T>(path);
}

template <class... Types>
template <class T>
auto _subscriber<Types...>::make_subscription(nexel_client_api& client, const std::string& path) {
  auto event = std::make_shared<path_event>(path);
  auto values = std::get<table_ptr<T>>(tables_)->values;
  values->begin_subscription(path);
  auto callback = std::make_shared<nexel_value_subscriber<T>>(
      path, event, [values, path](T value) { values->store(path, std::move(value)); });
  client.add_subscriber(callback);
  return std::make_pair(std::move(event), std::move(callback));
}

template <class... Types>
template <class T>
void _subscriber<Types...>::wait_for_value(const std::string& path) {
  const auto& values = *std::get<table_ptr<T>>(tables_)->values;
  for (unsigned tries = 1; tries <= try_limit; ++tries) {
    if (!helpers::waiting::instance().sleep(try_interval)) break;
    if (!values.find(path)) continue;
    LUMORA_LOG(1, "Subscription to path {} finished in ~{} µs", path, tries);
    return;
  }
  throw nx_error(-22, fmt::format("Failed to subscribe to path: {}", path));
}

template <class... Types>
template <class T>
reading<T> _subscriber<Types...>::get_reading(const std::string& path) const {
  auto found = std::get<table_ptr<T>>(tables_)->values->find(path);
  if (!found) throw nx_error(-22, fmt::format("No value for path: {}", path));
  return *std::move(found);
}

template <class... Types>
template <class T>
T _subscriber<Types...>::get(const std::string& path) const {
  return get_reading<T>(path).value;
}

template <class... Types>
void _subscriber<Types...>::unsubscribe(const std::string& path) {
  LUMORA_LOG(2, "Unsubscribing from path: {}", path);
  const std::lock_guard lock(mutex_);
  std::apply([&](auto&... tables) { (tables->subscriptions.erase(path), ...); }, tables_);
}

template <class... Types>
void _subscriber<Types...>::reset() {
  LUMORA_LOG(2, "Resetting subscriber.");
  const std::lock_guard lock(mutex_);
  std::apply([](auto&... tables) { (tables->subscriptions.clear(), ...); }, tables_);
}

template <class... Types>
void _subscriber<Types...>::_cleanup() {
  const auto clean = [this](auto& table) {
    std::erase_if(table.subscriptions, [this](const auto& entry) {
      if (!entry.second.first->is_removed()) return false;
      LUMORA_LOG(2, "Removing dead path: {}", entry.first);
      dropped_ = true;
      return true;
    });
  };
  std::apply([&](auto&... tables) { (clean(*tables), ...); }, tables_);
}

template <class... Types>
bool _subscriber<Types...>::is_operational() {
  const auto all_operational = [](auto& table) {
    for (const auto& [path, entry] : table.subscriptions) {
      if (!entry.first->is_operational()) return false;
    }
    return true;
  };
  const std::lock_guard lock(mutex_);
  _cleanup();
  return std::apply([&](auto&... tables) { return (all_operational(*tables) && ...); }, tables_);
}

template class _subscriber<float, std::string, bool, int, unsigned int>;

template void subscriber::subscribe<bool>(std::shared_ptr<nexel_client_api>, const std::string&);
template void subscriber::subscribe<float>(std::shared_ptr<nexel_client_api>, const std::string&);
template void subscriber::subscribe<std::string>(std::shared_ptr<nexel_client_api>,
                                                 const std::string&);
template reading<bool> subscriber::get_reading<bool>(const std::string&) const;
template reading<float> subscriber::get_reading<float>(const std::string&) const;
template reading<std::string> subscriber::get_reading<std::string>(const std::string&) const;
template bool subscriber::get<bool>(const std::string&) const;
template float subscriber::get<float>(const std::string&) const;
template int subscriber::get<int>(const std::string&) const;
template unsigned int subscriber::get<unsigned int>(const std::string&) const;
template std::string subscriber::get<std::string>(const std::string&) const;

}  // namespace device
