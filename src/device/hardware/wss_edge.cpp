#include "device/hardware/wss_edge.h"

#include <fmt/format.h>

#include <utility>

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

std::string wss_edge::total_power_path() const {
  return fmt::format("data/ocm/{}/totalPower", index_);
}

bool wss_edge::is_operational() {
  return client_->get<std::string>("data/moduleStatus") == "operational";
}

void wss_edge::subscribe_channel(unsigned channel) {
  subscriber_->subscribe<bool>(client_, ocm_path(channel, "detected"));
  subscriber_->subscribe<float>(client_, ocm_path(channel, "powerLevel"));
  subscriber_->subscribe<float>(client_, wss_path("data", channel, "attenuation"));
  subscriber_->subscribe<float>(client_, ocm_path(channel, "detectLevel"));
}

void wss_edge::unsubscribe_channel(unsigned channel) {
  subscriber_->unsubscribe(ocm_path(channel, "detected"));
  subscriber_->unsubscribe(ocm_path(channel, "powerLevel"));
  subscriber_->unsubscribe(wss_path("data", channel, "attenuation"));
  subscriber_->unsubscribe(ocm_path(channel, "detectLevel"));
}

void wss_edge::subscribe() {
  subscriber_->subscribe<float>(client_, total_power_path());
}

void wss_edge::unsubscribe() {
  subscriber_->unsubscribe(total_power_path());
}

bool wss_edge::has_channel(unsigned) {
  throw_not_implemented();
}

void wss_edge::set_attenuation(unsigned channel, float value) {
  LUMORA_LOG(1, "WSS: set attenuation {}: {} = {}", index_, channel, value);
  client_->set<void>(wss_path("config", channel, "attenuation"), value);
}

reading<float> wss_edge::get_attenuation_reading(unsigned channel) {
  return subscriber_->get_reading<float>(wss_path("data", channel, "attenuation"));
}

float wss_edge::get_attenuation(unsigned channel) {
  return subscriber_->get<float>(wss_path("data", channel, "attenuation"));
}

void wss_edge::block_channel(unsigned channel) {
  client_->set<void>(wss_path("config", channel, "port"), "off");
}

void wss_edge::unblock_channel(unsigned channel, float value) {
  client_->set<void>(wss_path("config", channel, "port"), "on");
  set_attenuation(channel, value);
}

bool wss_edge::is_channel_blocked(unsigned channel) {
  return client_->get<std::string>(wss_path("data", channel, "port")) == "off";
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
  client_->set<void>(fmt::format("config/ocm/{}/channelDetectLevel", index_), level);
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
