// Proxy of the optical switch.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/optoswitch.h"

namespace device::hardware {

class optoswitch : public device::interfaces::optoswitch {
 public:
  optoswitch(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  int select_path(int path) override;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
