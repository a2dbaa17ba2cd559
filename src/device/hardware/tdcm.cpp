#include "device/hardware/tdcm.h"

#include <fmt/format.h>

#include <mutex>
#include <optional>
#include <utility>

#include "device/hardware/readings.h"
#include "helpers/logger.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace device::hardware {
namespace {

constexpr int severity_error = 3;

// Only part of this compensator model's tuning range is used.
constexpr const char* limited_part_number = "TDCMX-C000-JC-BS08";
constexpr float limited_range = 180.0f;  // ps/nm, either way

/// A value that the device is asked for until it has answered once.
template <class T>
class read_once {
 public:
  explicit read_once(const char* path) : path_(path) {}

  T get(nexel_client_api& client) {
    {
      const std::lock_guard lock(mutex_);
      if (value_) return *value_;
    }
    T answer = client.get<T>(path_);
    const std::lock_guard lock(mutex_);
    if (!value_) value_ = std::move(answer);
    return *value_;
  }

  void forget() {
    const std::lock_guard lock(mutex_);
    value_.reset();
  }

 private:
  const std::string path_;
  std::mutex mutex_;
  std::optional<T> value_;
};

read_once<float> tdcm_max("data/debug/tuningRangeMax");
read_once<float> tdcm_min("data/debug/tuningRangeMin");
read_once<std::string> part_number("inventory/partNumber");

}  // namespace

tdcm::tdcm(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : client_(make_client(std::move(io), socket_path)) {}

void tdcm::forget_for_test() {
  tdcm_max.forget();
  tdcm_min.forget();
  part_number.forget();
}

void tdcm::check_dispersion(float value) {
  const float max = get_max_dispersion();
  const float min = get_min_dispersion();
  if (max < value || min > value) {
    throw nx_error(
        nx_error::invalid,
        fmt::format("Dispersion compensation value is not within range ({} to {} [ps/nm]).", min,
                    max));
  }
}

void tdcm::set_dispersion(float value) {
  write<void>(*client_, "config/dispersion", value);
}

float tdcm::get_dispersion() {
  try {
    return read_number(*client_, "data/currentDispersion", reading_kind::dispersion);
  } catch (const nx_client_exception& error) {
    LUMORA_LOG_DIRECT(severity_error, "get_dispersion",
                      fmt::format("Error getting dispersion: {}", error.message));
    return 0.0f;
  }
}

float tdcm::get_max_dispersion() {
  return tdcm_max.get(*client_);
}

float tdcm::get_min_dispersion() {
  return tdcm_min.get(*client_);
}

std::string tdcm::get_partNumber() {
  return part_number.get(*client_);
}

float tdcm::clamp_dispersion(float value) {
  if (get_max_dispersion() < value) return get_max_dispersion();
  if (get_min_dispersion() > value) return get_min_dispersion();
  return value;
}

float tdcm::limit_dispersion(float value, bool enabled) {
  if (!enabled || get_partNumber() != limited_part_number) return value;
  if (value > limited_range) return limited_range;
  if (value < -limited_range) return -limited_range;
  return value;
}

}  // namespace device::hardware
