#include "device/system.h"

#include "device/hardware/proxy.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::system {

info::info(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : client_(hardware::make_client(std::move(io), socket_path)) {}

std::string info::get_part_number() const {
  return client_->get<std::string>("inventory/partNumber");
}

std::string info::get_sw_version() const {
  return client_->get<std::string>("data/swVersion");
}

std::string info::get_hw_revision() const {
  return client_->get<std::string>("inventory/hwRevision");
}

start::start(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : client_(hardware::make_client(std::move(io), socket_path)) {}

bool start::is_system_coldstart() const {
  return client_->get<bool>("data/systemColdstart");
}

}  // namespace device::system
