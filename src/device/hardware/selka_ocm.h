// One port of the selka products' monitor; its channel plan is loaded in the same way as the
// switch's.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/ocm.h"

namespace device::hardware {

class selka_ocm : public with_subscriptions<device::interfaces::ocm> {
 public:
  selka_ocm(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path,
            unsigned port);

  /// Asks the nexel only on every second call, including the first.
  bool is_operational() override;
  void subscribe_channel(unsigned channel) override;
  void unsubscribe_channel(unsigned channel) override;
  void subscribe() override;
  void unsubscribe() override;
  bool has_channel(unsigned channel) override;
  void declare_presence_read(unsigned channel, std::vector<read_wish>& wishes) override;

  float get_total_power() override;
  float get_channel_power(unsigned channel) override;
  reading<float> get_channel_power_reading(unsigned channel) override;
  bool is_channel_detected(unsigned channel) override;
  float get_channel_detect_level(unsigned channel) override;
  void set_channel_detect_level(float level) override;
  /// Asks for the channel's values right behind the command, so that both are answered together and
  /// `subscribe_channel` finds them.
  void add_channel(unsigned center, unsigned width) override;
  void remove_channel(unsigned center) override;
  void create_channel_plan(const std::string& json) override;
  void remove_all_channels() override;
  bool is_channel_plan_loaded() override;
  void declare_reads(std::vector<read_wish>& wishes) override;
  std::set<unsigned> subscribe_channels(const std::vector<unsigned>& channels) override;

 private:
  std::string channel_path(unsigned channel, const char* name) const;

  std::string total_power_path() const;
  std::string plan_loaded_path() const;
  std::vector<wanted_path> channel_paths(unsigned channel) const;

  std::shared_ptr<nexel_client_api> client_;
  const unsigned port_;
  bool check_plan_ = false;
};

}  // namespace device::hardware
