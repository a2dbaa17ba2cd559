#include "device/hardware/client.h"

#include <utility>

#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

std::shared_ptr<nexel_client_api> make_client(std::shared_ptr<boost::asio::io_context> io,
                                              const std::string& socket_path) {
  return nexel_client::create(std::move(io), socket_path, "unnamed", {});
}

}  // namespace device::hardware
