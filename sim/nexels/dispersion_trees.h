// orvapro's dispersion compensation: "tdcm", the tunable compensator, and "ols_optical_switch/1",
// which puts the fixed module into the path or takes it out.
#pragma once

#include "sim/nexels/device_tree.h"
#include "sim/plant/node.h"

namespace sim {

class compensator_tree : public device_tree {
 public:
  compensator_tree(std::mutex& light, dispersion_module& device,
                   const compensator_settings& settings);
  void publish() override;

 private:
  dispersion_module& device_;
  reading_ptr<float> current_;
};

class optical_switch_tree : public device_tree {
 public:
  optical_switch_tree(std::mutex& light, dispersion_module& device);
};

}  // namespace sim
