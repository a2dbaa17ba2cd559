// "wss_edge", the switch and monitor of the orva models in one service: module 1 is the add side
// with the booster's monitor, module 2 the drop side with the preamp's. Its channels are fixed.
#pragma once

#include <vector>

#include "sim/nexels/device_tree.h"
#include "sim/plant/node.h"

namespace sim {

class spectrum_tree : public device_tree {
 public:
  spectrum_tree(std::mutex& light, node& of);
  void publish() override;

 private:
  struct channel_readings {
    reading_ptr<float> power;
    reading_ptr<bool> detected;
    reading_ptr<float> attenuation;
    reading_ptr<float> detect_level;
    reading_ptr<std::string> port;
  };
  struct module {
    wave_switch* device;
    channel_monitor* monitor;
    reading_ptr<float> total;
    std::vector<channel_readings> channels;
    unsigned shown_passes = 0;
  };
  void add_module(unsigned number, wave_switch& device, channel_monitor& monitor, const node& of);
  void add_switch_channel(module& to, unsigned number, std::size_t slot, unsigned channel);
  void add_monitor_channel(module& to, unsigned number, unsigned channel);
  void publish_switch(module& of);
  void publish_monitor(module& of);

  std::vector<module> modules_;
};

}  // namespace sim
