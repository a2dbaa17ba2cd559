#include "device/hardware/osc.h"

#include <utility>

#include "device/hardware/readings.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

osc::osc(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("osc"), client_(make_client(std::move(io), socket_path)) {}

bool osc::is_operational() {
  return read<std::string>(*client_, "data/debug/state") == "ready";
}

float osc::get_fiber_length() {
  return read_number(*client_, "data/fiberLength", reading_kind::fibre_length);
}

float osc::get_fiber_dispersion() {
  return read_number(*client_, "data/fiberDispersion", reading_kind::dispersion);
}

std::string osc::get_neighbour() {
  return read<std::string>(*client_, "data/neighbour");
}

void osc::declare_reads(std::vector<read_wish>& wishes) {
  using enum read_wish::type;
  wishes.push_back({client_, text, "data/debug/state"});
  wishes.push_back({client_, text, "data/neighbour"});
  wishes.push_back({client_, number, "data/fiberLength"});
  wishes.push_back({client_, count, "alarms/lossOfLink/severity"});
}

bool osc::has_loss_of_link() {
  return read<unsigned>(*client_, "alarms/lossOfLink/severity") != 0;
}

}  // namespace device::hardware
