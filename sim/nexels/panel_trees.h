// The services other than those of the light path: "system_info", "system_start" and the front
// panel's "led_selka".
#pragma once

#include <string>
#include <vector>

#include "sim/nexels/device_tree.h"
#include "sim/plant/topology.h"

namespace sim {

class system_info_tree : public device_tree {
 public:
  system_info_tree(std::mutex& light, const node_settings& settings);
};

class system_start_tree : public device_tree {
 public:
  system_start_tree(std::mutex& light, const node_settings& settings);
};

class led_tree : public device_tree {
 public:
  led_tree(std::mutex& light, const models::front_panel& leds);

 private:
  void add_pair(const std::string& port);
};

}  // namespace sim
