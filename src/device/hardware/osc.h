// Proxy of the supervisory channel.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/osc.h"

namespace device::hardware {

class osc : public without_subscriptions<device::interfaces::osc> {
 public:
  osc(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  bool is_operational() override;

  float get_fiber_length() override;
  float get_fiber_dispersion() override;
  std::string get_neighbour() override;
  bool has_loss_of_link() override;
  void declare_reads(std::vector<read_wish>& wishes) override;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
