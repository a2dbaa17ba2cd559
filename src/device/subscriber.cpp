#include "device/subscriber.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "device/nexel_value_subscriber.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace device {
namespace {

/// If a nexel takes longer than this for its first values, the next try picks them up: the
/// subscriptions stay.
constexpr std::chrono::seconds first_value_limit{1};

/// Calls `action` with a value of the C++ type that holds the path's values.
template <class Action>
auto with_type(value_type type, Action&& action) {
  switch (type) {
    case value_type::truth:
      return action(bool{});
    case value_type::text:
      return action(std::string{});
    case value_type::number:
      break;
  }
  return action(float{});
}

void log_first_values(const std::vector<wanted_path>& paths,
                      std::chrono::steady_clock::duration waited) {
  const auto time = std::chrono::duration_cast<std::chrono::microseconds>(waited).count();
  for (const auto& wanted : paths)
    LUMORA_LOG(1, "Subscription to path {} finished in ~{} µs", wanted.path, time);
}

[[noreturn]] void throw_missing(const std::string& path) {
  throw nx_error(nx_error::invalid, fmt::format("Failed to subscribe to path: {}", path));
}

}  // namespace

reading<float> reading_of_now(float value) {
  return {.value = value,
          .arrived = helpers::steady_now(),
          .arrivals = 1,
          .changes = 1,
          .is_sound = true};
}

template <class T>
struct subscription_table {
  using subscription =
      std::pair<std::shared_ptr<path_event>, std::shared_ptr<nexel_value_subscriber<T>>>;

  std::map<std::string, subscription> subscriptions;
  std::shared_ptr<value_table<T>> values = std::make_shared<value_table<T>>();
};

template <class... Types>
_subscriber<Types...>::_subscriber(std::string nexel)
    : nexel_(std::move(nexel)), tables_(std::make_shared<subscription_table<Types>>()...) {}

template <class... Types>
_subscriber<Types...>::~_subscriber() = default;

template <class... Types>
template <class T>
void _subscriber<Types...>::subscribe(std::shared_ptr<nexel_client_api> client,
                                      const std::string& path, reading_kind kind) {
  constexpr auto type = std::is_same_v<T, bool>          ? value_type::truth
                        : std::is_same_v<T, std::string> ? value_type::text
                                                         : value_type::number;
  subscribe_each(client, {{type, path, kind}});
}

template <class... Types>
void _subscriber<Types...>::subscribe_each(const std::shared_ptr<nexel_client_api>& client,
                                           const std::vector<wanted_path>& paths) {
  const auto missing = subscribe_all(client, paths);
  if (!missing.empty()) throw_missing(missing.front());
}

template <class... Types>
std::vector<std::string> _subscriber<Types...>::subscribe_all(
    const std::shared_ptr<nexel_client_api>& client, const std::vector<wanted_path>& paths) {
  request_all(client, paths);
  auto next = paths.begin();  // what is settled stays settled, and is looked at once
  const auto all_settled = [&] {
    next = std::find_if(next, paths.end(),
                        [this](const wanted_path& wanted) { return !is_settled(wanted); });
    return next == paths.end();
  };
  auto& waiting = helpers::waiting::instance();
  const auto begin = waiting.steady_now();
  waiting.wait(all_settled, first_value_limit);
  std::vector<wanted_path> there;
  std::vector<std::string> missing;
  for (const auto& wanted : paths) {
    if (!waiting.stopping() && has_value(wanted)) {
      there.push_back(wanted);
    } else {
      missing.push_back(wanted.path);
    }
  }
  log_first_values(there, waiting.steady_now() - begin);
  return missing;
}

template <class... Types>
void _subscriber<Types...>::request_all(const std::shared_ptr<nexel_client_api>& client,
                                        const std::vector<wanted_path>& paths) {
  for (const auto& wanted : paths) {
    with_type(wanted.type, [&]<class T>(const T&) {
      this->template request<T>(*client, wanted.path, wanted.kind);
    });
    LUMORA_LOG(1, "Subscribing to path: {}", wanted.path);
  }
}

template <class... Types>
template <class T>
void _subscriber<Types...>::request(nexel_client_api& client, const std::string& path,
                                    reading_kind kind) {
  auto& subscriptions = table<T>()->subscriptions;
  const std::lock_guard lock(mutex_);
  const auto found = subscriptions.find(path);
  if (found != subscriptions.end() && found->second.first->is_operational()) return;
  subscriptions.erase(path);
  subscriptions.emplace(path, make_subscription<T>(client, path, kind));
}

template <class... Types>
template <class T>
auto _subscriber<Types...>::make_subscription(nexel_client_api& client, const std::string& path,
                                              reading_kind kind) {
  auto event = std::make_shared<path_event>(path);
  auto values = table<T>()->values;
  values->begin_subscription(path);
  auto callback =
      std::make_shared<nexel_value_subscriber<T>>(path, event, std::move(values), nexel_, kind);
  client.add_subscriber(callback);
  return std::make_pair(std::move(event), std::move(callback));
}

template <class... Types>
bool _subscriber<Types...>::is_answered(const wanted_path& wanted) const {
  return with_type(wanted.type, [&]<class T>(const T&) {
    return this->template table<T>()->values->is_answered(wanted.path);
  });
}

template <class... Types>
bool _subscriber<Types...>::is_settled(const wanted_path& wanted) const {
  return with_type(wanted.type, [&]<class T>(const T&) {
    return this->template table<T>()->values->is_settled(wanted.path);
  });
}

template <class... Types>
bool _subscriber<Types...>::has_value(const wanted_path& wanted) const {
  return with_type(wanted.type, [&]<class T>(const T&) {
    return this->template table<T>()->values->find(wanted.path).has_value();
  });
}

template <class... Types>
std::optional<std::chrono::steady_clock::time_point> _subscriber<Types...>::failing_since(
    const wanted_path& wanted) const {
  return with_type(wanted.type, [&]<class T>(const T&) {
    return this->template table<T>()->values->failing_since(wanted.path);
  });
}

template <class... Types>
void _subscriber<Types...>::resubscribe_ended(const std::shared_ptr<nexel_client_api>& client,
                                              const std::vector<wanted_path>& paths) {
  const std::lock_guard lock(mutex_);
  for (const auto& wanted : paths) {
    with_type(wanted.type, [&]<class T>(const T&) {
      auto& of_type = *this->template table<T>();
      const auto found = of_type.subscriptions.find(wanted.path);
      if (found == of_type.subscriptions.end() || !found->second.first->is_removed()) return;
      of_type.subscriptions.erase(found);
      of_type.values->forget(wanted.path);
      of_type.subscriptions.emplace(
          wanted.path, this->template make_subscription<T>(*client, wanted.path, wanted.kind));
    });
  }
}

template <class... Types>
template <class T>
reading<T> _subscriber<Types...>::get_reading(const std::string& path) const {
  auto found = table<T>()->values->find(path);
  if (!found) throw nx_error(nx_error::invalid, fmt::format("No value for path: {}", path));
  return *std::move(found);
}

template <class... Types>
template <class T>
std::optional<reading<T>> _subscriber<Types...>::find_known(const std::string& path) const {
  return table<T>()->values->find_known(path);
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

template <class T>
using known_reading = std::optional<reading<T>>;

#define INSTANTIATE_FOR(T)                                                                      \
  template void subscriber::subscribe<T>(std::shared_ptr<nexel_client_api>, const std::string&, \
                                         reading_kind);                                         \
  template reading<T> subscriber::get_reading<T>(const std::string&) const;                     \
  template known_reading<T> subscriber::find_known<T>(const std::string&) const;                \
  template T subscriber::get<T>(const std::string&) const;
INSTANTIATE_FOR(bool)
INSTANTIATE_FOR(float)
INSTANTIATE_FOR(std::string)
#undef INSTANTIATE_FOR
template int subscriber::get<int>(const std::string&) const;
template unsigned int subscriber::get<unsigned int>(const std::string&) const;

}  // namespace device
