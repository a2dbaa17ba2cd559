#include "device/hardware/optoswitch.h"

#include <utility>

#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

optoswitch::optoswitch(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : client_(make_client(std::move(io), socket_path)) {}

int optoswitch::select_path(int path) {
  return client_->set<int>("command/pathselect", path);
}

}  // namespace device::hardware
