// Proxy of a transceiver port; the module in it may come and go.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/sfp.h"

namespace device::hardware {

class sfp : public without_subscriptions<device::interfaces::sfp> {
 public:
  sfp(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  /// A module is present.
  bool is_operational() override;

  float get_rx_power() override;
  float get_tx_power() override;
  bool has_los() override;
  std::string get_oper_status() override;
  void declare_reads(std::vector<read_wish>& wishes) override;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
