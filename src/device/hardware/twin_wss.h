// One half of the selka products' twin switch: add or drop side, by the module's lowest bit.
// Channels are added and removed by commands to the nexel; attenuations are set through the key
// store, which the switch's service reads, and are read back from the nexel.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/wss.h"

namespace device::hardware {

class twin_wss : public with_subscriptions<device::interfaces::wss> {
 public:
  twin_wss(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path,
           unsigned module);

  /// Asks the nexel only on every second call, including the first.
  bool is_operational() override;
  void subscribe_channel(unsigned channel) override;
  void unsubscribe_channel(unsigned channel) override;
  void subscribe() override;
  void unsubscribe() override;
  bool has_channel(unsigned channel) override;
  void declare_presence_read(unsigned channel, std::vector<read_wish>& wishes) override;

  /// Throws nx_error -5 while the store is away.
  void set_attenuation(unsigned channel, float value) override;
  float get_attenuation(unsigned channel) override;
  void block_channel(unsigned channel) override;
  void unblock_channel(unsigned channel, float value) override;
  bool is_channel_blocked(unsigned channel) override;
  float get_min_attenuation() override;
  float get_max_attenuation() override;
  unsigned get_channel_port(unsigned channel) override;
  void add_channel(unsigned center, unsigned width, unsigned port,
                   const std::string& version) override;
  void remove_channel(unsigned center) override;
  void create_channel_plan(const std::string& json) override;
  void remove_all_channels() override;
  bool is_channel_plan_loaded() override;

  /// The attenuation last written to the store for a channel; the switch may not show it yet.
  std::optional<float> get_written_attenuation(unsigned channel) const;
  void declare_reads(std::vector<read_wish>& wishes) override;
  void declare_channel_reads(unsigned channel, bool blocking,
                             std::vector<read_wish>& wishes) override;

 private:
  static const char* const _add_drop[2];
  const char* side() const { return _add_drop[module_ & 1]; }

  std::string attenuation_path(unsigned channel) const;
  std::string plan_loaded_path() const;

  std::shared_ptr<nexel_client_api> client_;
  const unsigned module_;
  bool check_plan_ = false;
  mutable std::mutex written_mutex_;
  std::map<unsigned, float> written_;
};

}  // namespace device::hardware
