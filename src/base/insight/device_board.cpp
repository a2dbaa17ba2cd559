#include "base/insight/device_board.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <type_traits>

#include "base/guards/line_span.h"
#include "base/insight/news.h"
#include "base/manager/nexel_paths.h"
#include "device/reading_kind.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace insight {

namespace {

using device::reading_kind;
namespace paths = manager::nexel_paths;

struct device_row {
  const char* name;
  const char* nexel;
};

constexpr auto devices = std::to_array<device_row>({
    {"booster", paths::booster},
    {"preamp", paths::preamp},
    {"voa", paths::voa},
    {"osc", paths::osc},
    {"sfp", paths::sfp},
    {"switch", paths::wss_edge},
    {"twinSwitch", paths::twin_wss},
    {"monitor", paths::selka_ocm},
});

enum class shape { number, text, flag, difference, none };

struct value_row {
  const char* device;
  const char* name;
  const char* path;  ///< of the nexel
  shape what = shape::number;
  reading_kind kind = reading_kind::any_number;
};

using enum shape;

// clang-format off
constexpr auto rows = std::to_array<value_row>({
    {"booster", "gain", "data/gain", number, reading_kind::gain},
    {"booster", "actualGain", "data/actualGain", number, reading_kind::gain},
    {"booster", "inputPower", "data/rxPower", number, reading_kind::tap_power},
    {"booster", "outputPower", "data/txPower", number, reading_kind::tap_power},
    {"booster", "limit", "data/powerLimit", number, reading_kind::power_limit},
    {"booster", "saturation", "", difference, reading_kind::saturation},
    {"booster", "enabled", "data/enable", flag},
    {"preamp", "gain", "data/gain", number, reading_kind::gain},
    {"preamp", "actualGain", "data/actualGain", number, reading_kind::gain},
    {"preamp", "inputPower", "data/rxPower", number, reading_kind::tap_power},
    {"preamp", "outputPower", "data/txPower", number, reading_kind::tap_power},
    {"preamp", "limit", "data/powerLimit", number, reading_kind::power_limit},
    {"preamp", "saturation", "", difference, reading_kind::saturation},
    {"preamp", "enabled", "data/enable", flag},
    {"voa", "attenuation", "data/attenuation", number, reading_kind::attenuation},
    {"voa", "insertionLoss", "data/insertionLoss", number, reading_kind::insertion_loss},
    {"voa", "status", "data/operStatus", text},
    {"osc", "link", "data/debug/state", text},
    {"osc", "neighbour", "data/neighbour", text},
    {"osc", "fibreLength", "data/fiberLength", number, reading_kind::fibre_length},
    {"sfp", "present", "present", flag},
    {"sfp", "inputPower", "data/rxPower", number, reading_kind::osc_power},
    {"sfp", "outputPower", "data/txPower", number, reading_kind::osc_power},
    {"switch", "status", "data/moduleStatus", text},
    // Other signs of life of devices whose readings are subscribed to.
    {"twinSwitch", "planLoaded", "data/module/add/channelPlanLoaded", flag},
    {"monitor", "planLoaded", "data/port/0/channelPlanLoaded", flag},
});
// clang-format on

unsigned row_of(const std::string& device, const std::string& name) {
  for (unsigned i = 0; i < rows.size(); ++i) {
    if (device == rows[i].device && name == rows[i].name) return i;
  }
  return rows.size();
}

unsigned device_of(unsigned row) {
  unsigned i = 0;
  while (std::string_view(devices[i].name) != rows[row].device)
    ++i;
  return i;
}

}  // namespace

void device_board::setup_api(nx_db& db, const std::vector<device::read_wish>& wishes) {
  {
    const std::lock_guard lock(mutex_);
    values_.resize(rows.size());
    devices_.resize(devices.size());
    for (const auto& wish : wishes) {
      const auto address = wish.client->address();
      for (unsigned i = 0; i < devices.size(); ++i) {
        if (address.ends_with(devices[i].nexel)) devices_[i].nexel = address;
      }
    }
  }
  for (unsigned i = 0; i < devices.size(); ++i) {
    if (!devices_[i].nexel.empty()) publish_rows(db, i);
  }
}

void device_board::publish_rows(nx_db& db, unsigned device) {
  using namespace nx::api;
  const auto self = shared_from_this();
  const auto path = [&](const char* name) {
    return fmt::format("insight/device/{}/{}", devices[device].name, name);
  };
  nodes_.push_back(told_age<&device_board::get_age>(db, path("age"), self, device));
  nodes_.push_back(lazy_value<&device_board::get_alive>::create(db, path("alive"), self, device));
  for (unsigned row = 0; row < rows.size(); ++row) {
    if (device_of(row) != device) continue;
    const auto at = path(rows[row].name);
    if (rows[row].what == text) {
      nodes_.push_back(lazy_value<&device_board::get_text>::create(db, at, self, row));
    } else if (rows[row].what == flag) {
      nodes_.push_back(lazy_value<&device_board::get_flag>::create(db, at, self, row));
    } else {
      nodes_.push_back(told_value<&device_board::get_number>(db, at, self, row));
    }
  }
}

void device_board::take(const device::cycle_reads& reads) {
  const std::lock_guard lock(mutex_);
  for (auto& device : devices_)
    device.alive = false;
  for (unsigned row = 0; row < values_.size(); ++row) {
    auto& device = devices_[device_of(row)];
    if (!device.nexel.empty() && rows[row].what != difference) take_row(row, reads, device);
  }
}

void device_board::take_row(unsigned row, const device::cycle_reads& reads, kept_device& device) {
  auto& kept = values_[row];
  kept.what = std::monostate();
  const auto* answer = reads.peek(device.nexel, rows[row].path);
  if (answer == nullptr) {
    kept.failure = "Not read in the last cycle";
    return;
  }
  const auto* error = std::get_if<nx_client_exception>(answer);
  if (error != nullptr) kept.failure = error->message;
  // A refusal is an answer too.
  if (error != nullptr &&
      (error->code == nx_error::not_connected || error->code == nx_error::no_answer)) {
    return;
  }
  std::visit(
      [&kept](const auto& told) {
        if constexpr (!std::is_same_v<std::decay_t<decltype(told)>, nx_client_exception>) {
          kept.what = told;
        }
      },
      *answer);
  device.alive = true;
  device.last_answer = helpers::steady_now();
}

void device_board::refresh() {
  for (const auto& node : nodes_)
    node->refresh();
}

// Called with the lock held.
float device_board::number_of(unsigned row) const {
  const auto& at = rows[row];
  if (at.what == difference) {
    const float wanted = number_of(row_of(at.device, "gain"));
    return std::max(wanted - number_of(row_of(at.device, "actualGain")), 0.0f);
  }
  const auto* told = std::get_if<float>(&values_.at(row).what);
  if (told == nullptr) throw nx_error(nx_error::no_value, values_.at(row).failure);
  switch (device::judge(at.kind, *told)) {
    case device::verdict::measured:
      if (at.kind != reading_kind::osc_power || guards::lit_osc_power(*told)) return *told;
      [[fallthrough]];
    case device::verdict::nothing_measured:
      throw nx_error(nx_error::no_value, "Dark: there is nothing to measure");
    case device::verdict::refused:
      break;
  }
  throw nx_error(nx_error::no_value, device::refusal_text(at.kind, *told));
}

std::optional<float> device_board::number(const std::string& device,
                                          const std::string& name) const {
  const std::lock_guard lock(mutex_);
  const auto row = row_of(device, name);
  if (row >= values_.size()) return std::nullopt;
  try {
    return number_of(row);
  } catch (const nx_error&) {
    return std::nullopt;
  }
}

std::optional<float> device_board::told(const std::string& device, const std::string& name) const {
  const std::lock_guard lock(mutex_);
  const auto row = row_of(device, name);
  if (row >= values_.size()) return std::nullopt;
  const auto* reading = std::get_if<float>(&values_[row].what);
  if (reading == nullptr) return std::nullopt;
  const bool is_one = device::judge(rows[row].kind, *reading) != device::verdict::refused;
  return is_one ? std::optional(*reading) : std::nullopt;
}

float device_board::get_number(unsigned row) {
  const std::lock_guard lock(mutex_);
  return number_of(row);
}

std::string device_board::get_text(unsigned row) {
  const std::lock_guard lock(mutex_);
  if (const auto* told = std::get_if<std::string>(&values_.at(row).what)) return *told;
  throw nx_error(nx_error::no_value, values_.at(row).failure);
}

bool device_board::get_flag(unsigned row) {
  const std::lock_guard lock(mutex_);
  if (const auto* told = std::get_if<bool>(&values_.at(row).what)) return *told;
  throw nx_error(nx_error::no_value, values_.at(row).failure);
}

float device_board::get_age(unsigned device) {
  const std::lock_guard lock(mutex_);
  const auto last = devices_.at(device).last_answer;
  if (!last) throw nx_error(nx_error::no_value, "It has not answered yet");
  return std::chrono::duration<float>(helpers::steady_now() - *last).count();
}

bool device_board::get_alive(unsigned device) {
  const std::lock_guard lock(mutex_);
  return devices_.at(device).alive;
}

}  // namespace insight
