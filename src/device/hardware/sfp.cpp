#include "device/hardware/sfp.h"

#include <utility>

#include "device/hardware/readings.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

sfp::sfp(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("sfp"), client_(make_client(std::move(io), socket_path)) {}

bool sfp::is_operational() {
  return read<bool>(*client_, "present");
}

float sfp::get_rx_power() {
  return read_number(*client_, "data/rxPower", reading_kind::osc_power);
}

float sfp::get_tx_power() {
  return read_number(*client_, "data/txPower", reading_kind::osc_power);
}

void sfp::declare_reads(std::vector<read_wish>& wishes) {
  using enum read_wish::type;
  wishes.push_back({client_, truth, "present"});
  wishes.push_back({client_, number, "data/rxPower"});
  wishes.push_back({client_, number, "data/txPower"});
  wishes.push_back({client_, count, "alarms/lossOfSignal/severity"});
}

bool sfp::has_los() {
  if (!is_operational()) return true;
  return read<unsigned>(*client_, "alarms/lossOfSignal/severity") != 0;
}

std::string sfp::get_oper_status() {
  return read<std::string>(*client_, "data/operStatus");
}

}  // namespace device::hardware
