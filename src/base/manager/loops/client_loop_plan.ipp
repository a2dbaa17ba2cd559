// Definitions of client_loop: the channel plan on the devices and on the tree, and the channel
// commands.
#pragma once

#include <fmt/format.h>

#include <set>

#include "api/config_param.h"
#include "base/channel/arithmetic.h"
#include "base/insight/channel_board.h"
#include "base/manager/leds.h"
#include "base/manager/loops/client_loop.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "platform/wire/nx_error.h"

namespace manager::loops {

template <class T>
void client_loop<T>::setup_channel_plan(nx_db& db) {
  LUMORA_LOG(2, fmt::runtime(direction_.setting_up_plan));
  const std::lock_guard lock(plan_->get_mutex());
  plan_is_set_up_ = false;
  plan_is_loaded_ = false;
  plan_->load();
  plan_is_loaded_ = true;
  broken_adds_.clear();
  if (plan_->get_channels()->empty()) {
    LUMORA_LOG(2, "Loading an empty channel plan, clearing all channels.");
    wss_->remove_all_channels();
    ocm_->remove_all_channels();
  } else {
    create_device_plans();
  }
  std::set<unsigned> frequencies;
  for (const auto& [frequency, control] : *plan_->get_channels()) {
    publish_channel(db, control);
    show_on_leds(frequency, control->get_channel()->get_wss_port());
    frequencies.insert(frequency);
  }
  plan_->get_board()->keep(frequencies);
  plan_is_set_up_ = true;
}

template <class T>
void client_loop<T>::create_device_plans() {
  const auto text = plan_->to_json();
  wss_->create_channel_plan(text);
  ocm_->create_channel_plan(text);
}

template <class T>
void client_loop<T>::publish_channel(nx_db& db, const control_ptr& control) {
  control->get_channel()->setup_api(db);
  setup_channel_api(db, control);
}

template <class T>
void client_loop<T>::setup_channel_api(nx_db& db, control_ptr control) {
  const auto channel = control->get_channel();
  control->setup_channel_api(db, channel->get_value_group());
  const auto record = control->get_record();
  record->setup_api(db, channel->get_id(), channel->get_center_frequency(), direction_.word);
  plan_->get_board()->enter(record);
}

template <class T>
void client_loop<T>::publish_wanted_power(nx_db& db, const control_ptr& control) {
  const auto channel = control->get_channel();
  // Bound to the plan's key: a model may number its channels differently on the tree.
  channel->get_value_group()->add_value(
      nx::api::config_param<&client_loop<T>::set_wanted_power_offset>::create(
          db, fmt::format(fmt::runtime(direction_.wanted_power_offset_path), channel->get_id()),
          get_channel_target_power(control), this->shared_from_this(),
          channel->get_center_frequency()),
      0);
}

template <class T>
float client_loop<T>::get_channel_target_power(control_ptr control) {
  const float width_ghz = control->get_channel()->get_width();
  return edfa_->get_power_limit() + ::channel::band_share_db(width_ghz);
}

template <class T>
void client_loop<T>::set_wanted_power_offset(unsigned channel, float wanted_power) {
  constexpr float lowest = -2.0f;
  constexpr float highest = 12.0f;
  if (wanted_power < lowest || wanted_power > highest) {
    throw nx_error(nx_error::invalid, fmt::format("Wanted power {} is out of range [{}, {}].",
                                                  wanted_power, lowest, highest));
  }
  const auto control = plan_->get_channel(channel);
  if (!control || !(*control)->get_channel()->is_api_ready()) {
    throw nx_error(nx_error::invalid, fmt::format("Channel {} not found.", channel));
  }
  (*control)->get_channel()->set_wanted_power_offset(wanted_power -
                                                     get_channel_target_power(*control));
}

template <class T>
void client_loop<T>::show_on_leds(unsigned frequency, unsigned port) {
  (leds_.get()->*direction_.add_led_channel)(frequency);
  (leds_.get()->*direction_.update_led_port)(frequency, port);
}

template <class T>
bool client_loop<T>::has_channel(unsigned frequency, unsigned width, unsigned port) {
  const std::lock_guard lock(plan_->get_mutex());
  return plan_has(frequency, width, port);
}

template <class T>
bool client_loop<T>::plan_has(unsigned frequency, unsigned width, unsigned port) const {
  const auto found = plan_->get_channels()->find(frequency);
  if (found == plan_->get_channels()->end()) return false;
  const auto channel = found->second->get_channel();
  return channel->get_center_frequency() == frequency && channel->get_raw_width() == width &&
         channel->get_wss_port() == port;
}

template <class T>
void client_loop<T>::check_channel_fit(unsigned frequency, unsigned width) {
  const std::lock_guard lock(plan_->get_mutex());
  require_fit(frequency, width);
}

template <class T>
void client_loop<T>::require_fit(unsigned frequency, unsigned width) const {
  for (const auto& [key, control] : *plan_->get_channels()) {
    const auto other = control->get_channel();
    if (!::channel::overlap(frequency, width, other->get_center_frequency(),
                            other->get_raw_width())) {
      continue;
    }
    throw nx_error(nx_error::invalid,
                   fmt::format(fmt::runtime(direction_.does_not_fit), frequency, width,
                               other->get_center_frequency(), other->get_raw_width()));
  }
}

template <class T>
void client_loop<T>::require_loaded_plan() const {
  if (!plan_is_loaded_) throw nx_error(nx_error::io_failed, "Channel plan is not loaded.");
}

template <class T>
void client_loop<T>::require_width(unsigned width, unsigned band_slices) {
  // A signed number from a request: zero or less is not a width.
  if (const auto signed_width = static_cast<int>(width); signed_width <= 0) {
    throw nx_error(nx_error::invalid,
                   fmt::format("Invalid width {}, expected 1 or more (100 * ghz)", signed_width));
  }
  if (const auto widest = ::channel::band_width(band_slices); width > widest) {
    throw nx_error(nx_error::invalid,
                   fmt::format("Invalid width {}, expected {} or less (100 * ghz)", width, widest));
  }
}

template <class T>
void client_loop<T>::add_channel(nx_db& db, unsigned frequency, unsigned width, unsigned port,
                                 std::string version) {
  const auto add = [&] {
    require_width(width, plan_->get_slices());
    // Checked and entered under one lock: of two sessions the second one finds what the first has
    // added.
    const std::lock_guard lock(plan_->get_mutex());
    require_loaded_plan();
    device::cycle_reads reads;
    const device::cycle_reads::scope scope(reads);
    const bool known = plan_has(frequency, width, port);
    if (!known) require_fit(frequency, width);
    if (!known) program_channel(frequency, width, port, version);
    if (broken_adds_.contains(frequency)) finish_adding(db, frequency);
  };
  helpers::logged_and_thrown(add, [] {});
}

template <class T>
void client_loop<T>::program_channel(unsigned frequency, unsigned width, unsigned port,
                                     const std::string& version) {
  ask_for_limit();
  add_to_device(*wss_, frequency, [&] { wss_->add_channel(frequency, width, port, version); });
  add_to_device(*ocm_, frequency, [&] { ocm_->add_channel(frequency, width); });
  plan_->add_channel(frequency, width, port, version);
  broken_adds_[frequency] = {};
}

template <class T>
template <class Device, class Add>
void client_loop<T>::add_to_device(Device& device, unsigned frequency, Add&& add) {
  try {
    add();
    return;
  } catch (...) {
    if (!device.has_channel(frequency)) throw;
    helpers::log_current_exception();
  }
  // Left there by an add that broke off, or by a removal that the device did not get, of whatever
  // width: no plan has it, so no light is lost with it.
  LUMORA_LOG(2, "Channel {} is already on the device, adding it again.", frequency);
  device.remove_channel(frequency);
  add();
}

/// The channel's values on the tree will want it: it is answered while the switch takes the
/// channel.
template <class T>
void client_loop<T>::ask_for_limit() {
  std::vector<device::read_wish> wishes;
  edfa_->declare_limit_read(wishes);
  if (auto* reads = device::cycle_reads::current()) reads->ask_ahead(wishes);
}

template <class T>
void client_loop<T>::finish_adding(nx_db& db, unsigned frequency) {
  const auto control = plan_->get_channels()->at(frequency);
  const auto channel = control->get_channel();
  auto& progress = broken_adds_.at(frequency);
  if (!progress.published) {
    publish_channel(db, control);
    plan_->get_board()->added(frequency);
  }
  progress.published = true;
  plan_->save();
  helpers::guarded([&] {
    wss_->subscribe_channel(channel->get_id());
    ocm_->subscribe_channel(channel->get_id());
  });
  show_on_leds(frequency, channel->get_wss_port());
  broken_adds_.erase(frequency);
}

template <class T>
void client_loop<T>::remove_channel(unsigned frequency) {
  const auto remove = [&] {
    const std::lock_guard lock(plan_->get_mutex());
    require_loaded_plan();
    remove_from_devices(frequency);
    plan_->remove_channel(frequency);
    plan_->get_board()->remove(frequency);
    broken_adds_.erase(frequency);
    plan_->save();
    (leds_.get()->*direction_.remove_led_channel)(frequency);
  };
  helpers::logged_and_thrown(remove, [] {});
}

/// Neither device's answer decides about the other: both are asked together, and told together.
template <class T>
void client_loop<T>::remove_from_devices(unsigned frequency) {
  device::cycle_reads reads;
  const device::cycle_reads::scope reading(reads);
  std::vector<device::read_wish> wishes;
  wss_->declare_presence_read(frequency, wishes);
  ocm_->declare_presence_read(frequency, wishes);
  reads.ask_ahead(wishes);
  device::cycle_writes writes;
  const device::cycle_writes::scope writing(writes);
  remove_from_device(*wss_, "Removing channel {} from WSS device.", frequency);
  remove_from_device(*ocm_, "Removing channel {} from OCM device.", frequency);
  writes.wait();
  for (std::size_t i = 0; i < writes.sent(); ++i)
    helpers::guarded([&] { writes.throw_failure(i, i + 1); });
}

template <class T>
template <class Device>
void client_loop<T>::remove_from_device(Device& device, const char* message, unsigned frequency) {
  if (!device.has_channel(frequency)) return;
  LUMORA_LOG(1, fmt::runtime(message), frequency);
  device.unsubscribe_channel(frequency);
  helpers::guarded([&] { device.remove_channel(frequency); });
}

}  // namespace manager::loops
