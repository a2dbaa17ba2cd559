#include "device/hardware/wss_edge.h"

#include <fmt/format.h>

#include <utility>

#include "device/hardware/readings.h"
#include "helpers/logger.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

wss_edge::wss_edge(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path,
                   unsigned index)
    : client_(make_client(std::move(io), socket_path)), index_(index) {}

std::string wss_edge::ocm_path(unsigned channel, const char* name) const {
  return fmt::format("data/ocm/{}/channel/{}/{}", index_, channel, name);
}

std::string wss_edge::wss_path(const char* root, unsigned channel, const char* name) const {
  return fmt::format("{}/wss/{}/channel/{}/{}", root, index_, channel, name);
}

std::string wss_edge::touched(unsigned channel) const {
  return fmt::format("/wss/{}/channel/{}/", index_, channel);
}

std::string wss_edge::total_power_path() const {
  return fmt::format("data/ocm/{}/totalPower", index_);
}

bool wss_edge::is_operational() {
  return read<std::string>(*client_, "data/moduleStatus") == "operational";
}

void wss_edge::subscribe_channel(unsigned channel) {
  subscriber_->subscribe_each(client_, channel_paths(channel));
}

std::vector<wanted_path> wss_edge::channel_paths(unsigned channel) const {
  using enum value_type;
  return {{truth, ocm_path(channel, "detected")},
          {number, ocm_path(channel, "powerLevel"), reading_kind::channel_power},
          {number, wss_path("data", channel, "attenuation"), reading_kind::attenuation},
          {number, ocm_path(channel, "detectLevel"), reading_kind::detection_level}};
}

std::set<unsigned> wss_edge::subscribe_channels(const std::vector<unsigned>& channels) {
  return subscribe_together(*subscriber_, client_, channels,
                            [this](unsigned channel) { return channel_paths(channel); });
}

void wss_edge::declare_reads(std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::text, "data/moduleStatus"});
}

void wss_edge::declare_channel_reads(unsigned channel, bool blocking,
                                     std::vector<read_wish>& wishes) {
  if (!blocking) return;
  wishes.push_back({client_, read_wish::type::text, wss_path("data", channel, "port"),
                    fmt::format("data/wss/{}/channel/*/port", index_)});
}

void wss_edge::unsubscribe_channel(unsigned channel) {
  subscriber_->unsubscribe(ocm_path(channel, "detected"));
  subscriber_->unsubscribe(ocm_path(channel, "powerLevel"));
  subscriber_->unsubscribe(wss_path("data", channel, "attenuation"));
  subscriber_->unsubscribe(ocm_path(channel, "detectLevel"));
}

void wss_edge::subscribe() {
  subscriber_->subscribe<float>(client_, total_power_path(), reading_kind::total_power);
}

void wss_edge::unsubscribe() {
  subscriber_->unsubscribe(total_power_path());
}

bool wss_edge::has_channel(unsigned) {
  throw_not_implemented();
}

void wss_edge::set_attenuation(unsigned channel, float value) {
  LUMORA_LOG(1, "WSS: set attenuation {}: {} = {}", index_, channel, value);
  write_in_turn(*client_, wss_path("config", channel, "attenuation"), value, touched(channel));
}

reading<float> wss_edge::get_attenuation_reading(unsigned channel) {
  return subscriber_->get_reading<float>(wss_path("data", channel, "attenuation"));
}

float wss_edge::get_attenuation(unsigned channel) {
  return subscriber_->get<float>(wss_path("data", channel, "attenuation"));
}

void wss_edge::block_channel(unsigned channel) {
  write_in_turn(*client_, wss_path("config", channel, "port"), "off", touched(channel));
}

void wss_edge::unblock_channel(unsigned channel, float value) {
  write<void>(*client_, wss_path("config", channel, "port"), "on", touched(channel));
  set_attenuation(channel, value);
}

bool wss_edge::is_channel_blocked(unsigned channel) {
  return read<std::string>(*client_, wss_path("data", channel, "port")) == "off";
}

float wss_edge::get_min_attenuation() {
  return 0.0f;
}

float wss_edge::get_max_attenuation() {
  return 15.0f;
}

unsigned wss_edge::get_channel_port(unsigned) {
  throw_not_implemented();
}

void wss_edge::add_channel(unsigned, unsigned, unsigned, const std::string&) {
  throw_not_implemented();
}

float wss_edge::get_total_power() {
  return subscriber_->get<float>(total_power_path());
}

reading<float> wss_edge::get_channel_power_reading(unsigned channel) {
  return subscriber_->get_reading<float>(ocm_path(channel, "powerLevel"));
}

float wss_edge::get_channel_power(unsigned channel) {
  return subscriber_->get<float>(ocm_path(channel, "powerLevel"));
}

bool wss_edge::is_channel_detected(unsigned channel) {
  return subscriber_->get<bool>(ocm_path(channel, "detected"));
}

float wss_edge::get_channel_detect_level(unsigned channel) {
  return subscriber_->get<float>(ocm_path(channel, "detectLevel"));
}

void wss_edge::set_channel_detect_level(float level) {
  write<void>(*client_, fmt::format("config/ocm/{}/channelDetectLevel", index_), level);
}

void wss_edge::add_channel(unsigned, unsigned) {
  throw_not_implemented();
}

void wss_edge::remove_channel(unsigned) {
  throw_not_implemented();
}

void wss_edge::create_channel_plan(const std::string&) {
  throw_not_implemented();
}

void wss_edge::remove_all_channels() {
  throw_not_implemented();
}

bool wss_edge::is_channel_plan_loaded() {
  return true;
}

}  // namespace device::hardware
