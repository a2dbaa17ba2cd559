#include "device/hardware/twin_wss.h"

#include <fmt/format.h>

#include <utility>

#include "device/hardware/channel_command.h"
#include "device/hardware/readings.h"
#include "helpers/logger.h"
#include "helpers/redis.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {
namespace {

constexpr float blocking_attenuation = 100.0f;  // dB, beyond what the switch can set
constexpr float blocked_above = 50.0f;          // dB, as the switch reports a blocked channel

}  // namespace

const char* const twin_wss::_add_drop[2] = {"add", "drop"};

twin_wss::twin_wss(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path,
                   unsigned module)
    : client_(make_client(std::move(io), socket_path)), module_(module) {}

std::string twin_wss::attenuation_path(unsigned channel) const {
  return fmt::format("data/module/{}/channel/{}/attenuation", side(), channel);
}

std::string twin_wss::plan_loaded_path() const {
  return fmt::format("data/module/{}/channelPlanLoaded", side());
}

void twin_wss::declare_reads(std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::truth, plan_loaded_path()});
}

void twin_wss::declare_channel_reads(unsigned channel, bool, std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::number, attenuation_path(channel),
                    fmt::format("data/module/{}/channel/*/attenuation", side())});
}

bool twin_wss::is_operational() {
  check_plan_ = !check_plan_;
  return !check_plan_ || is_channel_plan_loaded();
}

void twin_wss::subscribe_channel(unsigned) {}

void twin_wss::unsubscribe_channel(unsigned) {}

void twin_wss::subscribe() {}

void twin_wss::unsubscribe() {}

void twin_wss::declare_presence_read(unsigned channel, std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::number, attenuation_path(channel)});
}

bool twin_wss::has_channel(unsigned channel) {
  try {
    get_attenuation(channel);
    return true;
  } catch (...) {
    return false;
  }
}

void twin_wss::set_attenuation(unsigned channel, float value) {
  auto& store = redis::instance();
  const auto key = fmt::format("{}:nx/wss:config/module/{}/channel/{}/attenuation",
                               store.get_hash_tags().first, side(), channel);
  LUMORA_LOG(2, "WSS: set {} attenuation on channel {}: {} = {}", side(), channel, key, value);
  if (auto* reads = cycle_reads::current()) {
    reads->forget(*client_, fmt::format("/{}/channel/{}/", side(), channel));
  }
  store.set(key, value);
  const std::lock_guard lock(written_mutex_);
  written_[channel] = value;
}

std::optional<float> twin_wss::get_written_attenuation(unsigned channel) const {
  const std::lock_guard lock(written_mutex_);
  const auto found = written_.find(channel);
  return found == written_.end() ? std::nullopt : std::optional(found->second);
}

float twin_wss::get_attenuation(unsigned channel) {
  return read_number(*client_, attenuation_path(channel), reading_kind::attenuation);
}

void twin_wss::block_channel(unsigned channel) {
  set_attenuation(channel, blocking_attenuation);
}

void twin_wss::unblock_channel(unsigned channel, float value) {
  set_attenuation(channel, value);
}

bool twin_wss::is_channel_blocked(unsigned channel) {
  return get_attenuation(channel) > blocked_above;
}

float twin_wss::get_min_attenuation() {
  return 0.0f;
}

float twin_wss::get_max_attenuation() {
  return 25.0f;
}

unsigned twin_wss::get_channel_port(unsigned channel) {
  return read<unsigned>(*client_, fmt::format("config/module/{}/channel/{}/port", side(), channel));
}

void twin_wss::add_channel(unsigned center, unsigned width, unsigned port,
                           const std::string& version) {
  const auto request = channel_request(center, width, port, version);
  LUMORA_LOG(2, "Adding TWIN-WSS channel at {} with width {} on module {}. Request: {}.", center,
             width, side(), request);
  run_channel_command(*client_, fmt::format("command/module/{}/addChannel", side()), request,
                      "Failed to add WSS channel.");
}

void twin_wss::remove_channel(unsigned center) {
  // The light goes first: the slot must not pass light once it has lost its settings.
  block_channel(center);
  const auto request = channel_request(center);
  LUMORA_LOG(2, "Removing TWIN-WSS channel {} on module {}. Request: {}.", center, side(), request);
  run_channel_command_in_turn(*client_, fmt::format("command/module/{}/removeChannel", side()),
                              request, "Failed to remove WSS channel.");
}

void twin_wss::create_channel_plan(const std::string& json) {
  LUMORA_LOG(2, "Creating WSS {} channel plan from {}.", side(), json);
  run_channel_command(*client_, fmt::format("command/module/{}/addChannels", side()), json,
                      "Failed to add WSS channel plan.");
}

void twin_wss::remove_all_channels() {
  LUMORA_LOG(2, "Removing all WSS {} channels.", side());
  run_channel_command(*client_, fmt::format("command/module/{}/removeAllChannels", side()), true,
                      "Failed to remove all WSS channels.");
}

bool twin_wss::is_channel_plan_loaded() {
  return read<bool>(*client_, plan_loaded_path());
}

}  // namespace device::hardware
