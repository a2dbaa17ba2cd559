// Faults of devices: readings that lie, stay constant or fail, and writes that are lost, late or
// refused. Plain descriptions, made by tests and the control tree and given to the plant; nothing
// here throws.
#pragma once

#include <chrono>
#include <string>
#include <utility>

#include "platform/wire/nx_error.h"

namespace sim {

/// How a service falsifies a reading of its device.
struct reading_fault {
  enum class kind {
    replaced,   ///< `value`, any JSON text
    frozen,     ///< the value at the beginning of the fault, with noise of sigma `amount`
    noisy,      ///< the true value with noise
    trembling,  ///< the true value, alternately `amount` too high and too low
    stepped,    ///< the true value in steps of `amount`
    failed,     ///< reads are answered with `error`, subscribers get it as an event
    missing     ///< like a path that does not exist: subscriptions are refused as well
  };

  kind what = kind::frozen;
  double amount = 0.0;  ///< in the reading's unit; for noise, which is gaussian, the sigma
  std::string value{};
  nx_error error{nx_error::io_failed, "Refused by the device"};
  /// Interval between two draws of noise, or two alternations of a tremble.
  std::chrono::nanoseconds pace = std::chrono::seconds(1);

  static reading_fault replaced(std::string json) {
    return {.what = kind::replaced, .value = std::move(json)};
  }
  static reading_fault frozen(double noise = 0.0) {
    return {.what = kind::frozen, .amount = noise};
  }
  static reading_fault noisy(double sigma) { return {.what = kind::noisy, .amount = sigma}; }
  static reading_fault trembling(double amount) {
    return {.what = kind::trembling, .amount = amount};
  }
  static reading_fault stepped(double step) { return {.what = kind::stepped, .amount = step}; }
  static reading_fault failed(std::int32_t code = nx_error::io_failed,
                              std::string text = "Refused by the device") {
    return {.what = kind::failed, .error = {code, std::move(text)}};
  }
  static reading_fault missing() { return {.what = kind::missing}; }
};

/// What happens to writes and commands that reach a service.
struct write_fault {
  enum class kind {
    lost,    ///< answered as if done
    late,    ///< answered as if done, and done after `delay`
    refused  ///< answered with `error`, not done
  };

  kind what = kind::lost;
  std::chrono::nanoseconds delay{0};
  unsigned every = 1;  ///< affects each n-th matching write
  double share = 1.0;  ///< and of these a random fraction (seeded)
  nx_error error{nx_error::io_failed, "Refused by the device"};

  static write_fault lost() { return {.what = kind::lost}; }
  static write_fault late(std::chrono::nanoseconds delay) {
    return {.what = kind::late, .delay = delay};
  }
  static write_fault refused() { return {.what = kind::refused}; }

  write_fault each(unsigned n) const {
    write_fault changed = *this;
    changed.every = n;
    return changed;
  }
  write_fault of(double part) const {
    write_fault changed = *this;
    changed.share = part;
    return changed;
  }
};

}  // namespace sim
