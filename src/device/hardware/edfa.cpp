#include "device/hardware/edfa.h"

#include <algorithm>
#include <utility>

#include "device/hardware/readings.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

edfa::edfa(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : client_(make_client(std::move(io), socket_path)) {}

bool edfa::is_operational() {
  return true;
}

void edfa::subscribe_channel(unsigned) {}

void edfa::unsubscribe_channel(unsigned) {}

void edfa::subscribe() {
  using enum value_type;
  subscriber_->subscribe_each(client_, {{number, "data/gain", reading_kind::gain},
                                        {number, "data/actualGain", reading_kind::gain}});
}

void edfa::unsubscribe() {
  subscriber_->unsubscribe("data/gain");
  subscriber_->unsubscribe("data/actualGain");
  subscriber_->unsubscribe("data/gainDefault");
}

unsigned edfa::get_channel_subscribe_count() {
  throw_no_subscription("unsigned int", "edfa", "get_channel_subscribe_count()");
}

bool edfa::has_channel(unsigned) {
  return false;
}

void edfa::enable() {
  write<void>(*client_, "config/enable", true);
}

void edfa::disable() {
  write<void>(*client_, "config/enable", false);
}

bool edfa::is_enabled() {
  return read<bool>(*client_, "data/enable");
}

float edfa::get_rx_power() {
  return read_number(*client_, "data/rxPower", reading_kind::tap_power);
}

float edfa::get_tx_power() {
  return read_number(*client_, "data/txPower", reading_kind::tap_power);
}

float edfa::get_power_limit() {
  return read_number(*client_, "data/powerLimit", reading_kind::power_limit);
}

float edfa::get_gain() {
  return read_number(*client_, "data/gain", reading_kind::gain);
}

void edfa::set_gain(float gain) {
  write<void>(*client_, "config/gain", gain);
}

float edfa::get_min_gain() {
  return read_number(*client_, "data/gainMinThreshold", reading_kind::gain);
}

float edfa::get_max_gain() {
  return read_number(*client_, "data/gainMaxThreshold", reading_kind::gain);
}

float edfa::get_default_gain() {
  return read_number(*client_, "data/gainDefault", reading_kind::gain);
}

float edfa::get_saturation() {
  const float actual = read_number(*client_, "data/actualGain", reading_kind::gain);
  const float missing = std::max(get_gain() - actual, 0.0f);
  return plausible(missing, reading_kind::saturation, "data/actualGain");
}

void edfa::declare_limit_read(std::vector<read_wish>& wishes) {
  wishes.push_back({client_, read_wish::type::number, "data/powerLimit"});
}

void edfa::declare_gain_reads(std::vector<read_wish>& wishes) {
  for (const char* path : {"data/gain", "data/gainMinThreshold", "data/gainMaxThreshold"})
    wishes.push_back({client_, read_wish::type::number, path});
}

void edfa::declare_reads(std::vector<read_wish>& wishes) {
  using enum read_wish::type;
  for (const char* path :
       {"data/rxPower", "data/txPower", "data/powerLimit", "data/gain", "data/actualGain"})
    wishes.push_back({client_, number, path});
  wishes.push_back({client_, truth, "data/enable"});
  wishes.push_back({client_, count, "alarms/lossOfSignal/severity"});
}

bool edfa::has_los() {
  return read<unsigned>(*client_, "alarms/lossOfSignal/severity") != 0;
}

}  // namespace device::hardware
