#include "device/hardware/edfa.h"

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
  subscriber_->subscribe<float>(client_, "data/gain");
  subscriber_->subscribe<float>(client_, "data/actualGain");
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
  client_->set<void>("config/enable", true);
}

void edfa::disable() {
  client_->set<void>("config/enable", false);
}

bool edfa::is_enabled() {
  return client_->get<bool>("data/enable");
}

float edfa::get_rx_power() {
  return read_number(*client_, "data/rxPower");
}

float edfa::get_tx_power() {
  return read_number(*client_, "data/txPower");
}

float edfa::get_power_limit() {
  return read_number(*client_, "data/powerLimit");
}

float edfa::get_gain() {
  return read_number(*client_, "data/gain");
}

void edfa::set_gain(float gain) {
  client_->set<void>("config/gain", gain);
}

float edfa::get_min_gain() {
  return read_number(*client_, "data/gainMinThreshold");
}

float edfa::get_max_gain() {
  return read_number(*client_, "data/gainMaxThreshold");
}

float edfa::get_default_gain() {
  return read_number(*client_, "data/gainDefault");
}

float edfa::get_saturation() {
  const float missing = get_gain() - read_number(*client_, "data/actualGain");
  return missing > 0.0f ? missing : 0.0f;
}

bool edfa::has_los() {
  return client_->get<unsigned>("alarms/lossOfSignal/severity") != 0;
}

}  // namespace device::hardware
