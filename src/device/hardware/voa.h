// Proxy of the line's attenuator. Its range is known in advance.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/voa.h"

namespace device::hardware {

class voa : public without_subscriptions<device::interfaces::voa> {
 public:
  voa(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  bool is_operational() override;

  void set_attenuation(float attenuation) override;
  float get_attenuation() override;
  float get_min_attenuation() override;
  float get_max_attenuation() override;
  float get_insertion_loss() override;
  void declare_reads(std::vector<read_wish>& wishes) override;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
