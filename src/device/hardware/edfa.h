// Proxy of an amplifier.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/edfa.h"

namespace device::hardware {

class edfa : public with_subscriptions<device::interfaces::edfa> {
 public:
  edfa(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  bool is_operational() override;
  void subscribe_channel(unsigned channel) override;
  void unsubscribe_channel(unsigned channel) override;
  void subscribe() override;
  void unsubscribe() override;
  unsigned get_channel_subscribe_count() override;
  bool has_channel(unsigned channel) override;

  void enable() override;
  void disable() override;
  bool is_enabled() override;
  float get_rx_power() override;
  float get_tx_power() override;
  float get_power_limit() override;
  void declare_gain_reads(std::vector<read_wish>& wishes) override;
  void declare_limit_read(std::vector<read_wish>& wishes) override;
  float get_gain() override;
  void set_gain(float gain) override;
  float get_min_gain() override;
  float get_max_gain() override;
  float get_default_gain() override;
  float get_saturation() override;
  bool has_los() override;
  void declare_reads(std::vector<read_wish>& wishes) override;

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
