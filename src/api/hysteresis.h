// Decides which differences of a measured value are worth an event: a large one at once, a small
// one after a delay, noise never. A value class without node, lock or clock; its owner guards it.
#pragma once

#include <cstdint>
#include <functional>
#include <type_traits>

#include "platform/wire/json.h"

namespace nx::api {

template <class T>
class hysteresis {
 public:
  /// Negative: no change; 0: a small change; positive: a large one.
  using filter_t = std::function<int(const T& old_value, const T& new_value,
                                     const T& immediate_limit, const T& delayed_limit)>;

  static constexpr std::uint32_t default_delay_cycles = 10;

  /// Every difference is a large one.
  static hysteresis equal();
  /// Above `immediate_limit` at once, above `delayed_limit` after the delay.
  static hysteresis limits(T immediate_limit, T delayed_limit) requires std::is_arithmetic_v<T>;
  static hysteresis custom(filter_t filter);
  static hysteresis custom(filter_t filter, T immediate_limit, T delayed_limit);

  /// Whether the new value replaces the old one. A small change waits only if the value is polled,
  /// and only polls are counted; a push leaves the count alone.
  bool accepts(const T& old_value, const T& new_value, bool polled, bool pushed);
  void reset_count() { cycle_count_ = 0; }
  std::uint32_t get_cycle_count() const { return cycle_count_; }

  /// The "hysteresis" record of the node; a `poll_interval` of 0 is left out.
  json_value get_info(std::uint32_t poll_interval, json_allocator& allocator) const;

 private:
  enum class kind { custom_with_limits, custom, limits, equal };
  hysteresis(kind filter_kind, filter_t filter, T immediate_limit, T delayed_limit);

  kind kind_;
  T immediate_limit_;
  T delayed_limit_;
  std::uint32_t delay_cycles_ = default_delay_cycles;
  std::uint32_t cycle_count_ = 0;
  filter_t filter_;
};

}  // namespace nx::api
