// The orva products' module: switch and monitor in one. Its channels are fixed by the device; a
// channel is blocked by switching its port off.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/ocm.h"
#include "device/interfaces/wss.h"

namespace device::hardware {

class wss_edge : public with_subscriptions<device::interfaces::wss, device::interfaces::ocm> {
 public:
  wss_edge(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path,
           unsigned index);

  bool is_operational() override;
  void subscribe_channel(unsigned channel) override;
  void unsubscribe_channel(unsigned channel) override;
  void subscribe() override;
  void unsubscribe() override;
  bool has_channel(unsigned channel) override;

  void set_attenuation(unsigned channel, float value) override;
  /// Like every reading of a channel here, this needs the channel to be subscribed to.
  float get_attenuation(unsigned channel) override;
  reading<float> get_attenuation_reading(unsigned channel) override;
  void block_channel(unsigned channel) override;
  void unblock_channel(unsigned channel, float value) override;
  bool is_channel_blocked(unsigned channel) override;
  float get_min_attenuation() override;
  float get_max_attenuation() override;
  unsigned get_channel_port(unsigned channel) override;
  void add_channel(unsigned center, unsigned width, unsigned port,
                   const std::string& version) override;

  float get_total_power() override;
  float get_channel_power(unsigned channel) override;
  reading<float> get_channel_power_reading(unsigned channel) override;
  bool is_channel_detected(unsigned channel) override;
  float get_channel_detect_level(unsigned channel) override;
  void set_channel_detect_level(float level) override;
  void add_channel(unsigned center, unsigned width) override;

  void remove_channel(unsigned center) override;
  void create_channel_plan(const std::string& json) override;
  void remove_all_channels() override;
  bool is_channel_plan_loaded() override;
  void declare_reads(std::vector<read_wish>& wishes) override;
  void declare_channel_reads(unsigned channel, bool blocking,
                             std::vector<read_wish>& wishes) override;
  std::set<unsigned> subscribe_channels(const std::vector<unsigned>& channels) override;

 private:
  std::string ocm_path(unsigned channel, const char* name) const;
  std::string wss_path(const char* root, unsigned channel, const char* name) const;
  /// The part shared by a channel's paths: a write to it changes no reading of other channels or of
  /// the other direction.
  std::string touched(unsigned channel) const;
  std::string total_power_path() const;
  std::vector<wanted_path> channel_paths(unsigned channel) const;

  std::shared_ptr<nexel_client_api> client_;
  const unsigned index_;
};

}  // namespace device::hardware
