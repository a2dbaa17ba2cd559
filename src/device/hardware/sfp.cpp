#include "device/hardware/sfp.h"

#include <utility>

#include "device/hardware/readings.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

sfp::sfp(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("sfp"), client_(make_client(std::move(io), socket_path)) {}

bool sfp::is_operational() {
  return client_->get<bool>("present");
}

float sfp::get_rx_power() {
  return read_number(*client_, "data/rxPower");
}

float sfp::get_tx_power() {
  return read_number(*client_, "data/txPower");
}

bool sfp::has_los() {
  if (!is_operational()) return true;
  return client_->get<unsigned>("alarms/lossOfSignal/severity") != 0;
}

std::string sfp::get_oper_status() {
  return client_->get<std::string>("data/operStatus");
}

}  // namespace device::hardware
