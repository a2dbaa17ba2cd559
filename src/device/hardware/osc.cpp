#include "device/hardware/osc.h"

#include <utility>

#include "device/hardware/readings.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

osc::osc(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("osc"), client_(make_client(std::move(io), socket_path)) {}

bool osc::is_operational() {
  return client_->get<std::string>("data/debug/state") == "ready";
}

float osc::get_fiber_length() {
  return read_number(*client_, "data/fiberLength");
}

float osc::get_fiber_dispersion() {
  return read_number(*client_, "data/fiberDispersion");
}

std::string osc::get_neighbour() {
  return client_->get<std::string>("data/neighbour");
}

bool osc::has_loss_of_link() {
  return client_->get<unsigned>("alarms/lossOfLink/severity") != 0;
}

}  // namespace device::hardware
