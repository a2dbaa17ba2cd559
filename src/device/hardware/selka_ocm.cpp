#include "device/hardware/selka_ocm.h"

#include <fmt/format.h>

#include <utility>

#include "device/hardware/channel_command.h"
#include "device/hardware/readings.h"
#include "helpers/logger.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

selka_ocm::selka_ocm(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path,
                     unsigned port)
    : client_(make_client(std::move(io), socket_path)), port_(port) {}

std::string selka_ocm::channel_path(unsigned channel, const char* name) const {
  return fmt::format("data/port/{}/channel/{}/{}", port_, channel, name);
}

std::string selka_ocm::total_power_path() const {
  return fmt::format("data/port/{}/totalPower", port_);
}

std::string selka_ocm::plan_loaded_path() const {
  return fmt::format("data/port/{}/channelPlanLoaded", port_);
}

std::vector<wanted_path> selka_ocm::channel_paths(unsigned channel) const {
  using enum value_type;
  return {{truth, channel_path(channel, "peak")},
          {number, channel_path(channel, "power"), reading_kind::channel_power}};
}

std::set<unsigned> selka_ocm::subscribe_channels(const std::vector<unsigned>& channels) {
  return subscribe_together(*subscriber_, client_, channels,
                            [this](unsigned channel) { return channel_paths(channel); });
}

void selka_ocm::declare_reads(std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::truth, plan_loaded_path()});
}

bool selka_ocm::is_operational() {
  check_plan_ = !check_plan_;
  return !check_plan_ || is_channel_plan_loaded();
}

void selka_ocm::subscribe_channel(unsigned channel) {
  subscriber_->subscribe_each(client_, channel_paths(channel));
}

void selka_ocm::unsubscribe_channel(unsigned channel) {
  subscriber_->unsubscribe(channel_path(channel, "peak"));
  subscriber_->unsubscribe(channel_path(channel, "power"));
}

void selka_ocm::subscribe() {}

void selka_ocm::unsubscribe() {}

void selka_ocm::declare_presence_read(unsigned channel, std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::truth, channel_path(channel, "peak")});
}

bool selka_ocm::has_channel(unsigned channel) {
  try {
    read<bool>(*client_, channel_path(channel, "peak"));
    return true;
  } catch (...) {
    return false;
  }
}

float selka_ocm::get_total_power() {
  return read_number(*client_, total_power_path(), reading_kind::total_power);
}

reading<float> selka_ocm::get_channel_power_reading(unsigned channel) {
  return subscriber_->get_reading<float>(channel_path(channel, "power"));
}

float selka_ocm::get_channel_power(unsigned channel) {
  return subscriber_->get<float>(channel_path(channel, "power"));
}

bool selka_ocm::is_channel_detected(unsigned channel) {
  return subscriber_->get<bool>(channel_path(channel, "peak"));
}

float selka_ocm::get_channel_detect_level(unsigned) {
  throw_not_implemented();
}

void selka_ocm::set_channel_detect_level(float) {
  throw_not_implemented();
}

void selka_ocm::add_channel(unsigned center, unsigned width) {
  const auto request = channel_request(center, width);
  LUMORA_LOG(2, "Adding OCM channel at {} with width {} on module {}. Request: {}.", center, width,
             port_, request);
  sent_channel_command command(*client_, fmt::format("command/port/{}/system/createChannel", port_),
                               request, "Failed to add OCM channel.");
  subscriber_->request_all(client_, channel_paths(center));
  try {
    command.wait();
  } catch (...) {
    unsubscribe_channel(center);
    throw;
  }
}

void selka_ocm::remove_channel(unsigned center) {
  const auto request = channel_request(center);
  LUMORA_LOG(2, "Removing OCM channel {} on module {}. Request: {}.", center, port_, request);
  run_channel_command_in_turn(*client_, fmt::format("command/port/{}/system/deleteChannel", port_),
                              request, "Failed to remove WSS channel.");
}

void selka_ocm::create_channel_plan(const std::string& json) {
  LUMORA_LOG(2, "Creating OCM port {} channel plan from {}.", port_, json);
  run_channel_command(*client_, fmt::format("command/port/{}/system/createChannelPlan", port_),
                      json, "Failed to create OCM channel plan.");
}

void selka_ocm::remove_all_channels() {
  LUMORA_LOG(2, "Removing all OCM port {} channels.", port_);
  run_channel_command(*client_, fmt::format("command/port/{}/system/deleteChannelPlan", port_),
                      true, "Failed to remove all OCM channels.");
}

bool selka_ocm::is_channel_plan_loaded() {
  return read<bool>(*client_, plan_loaded_path());
}

}  // namespace device::hardware
