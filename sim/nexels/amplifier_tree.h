// "booster" and "preamp": one amplifier's service.
#pragma once

#include "sim/nexels/device_tree.h"
#include "sim/plant/amplifier.h"

namespace sim {

class amplifier_tree : public device_tree {
 public:
  amplifier_tree(std::string name, std::mutex& light, amplifier& device);
  void publish() override;

 private:
  amplifier& device_;
  reading_ptr<float> gain_;
  reading_ptr<float> actual_gain_;
  reading_ptr<float> rx_power_;
  reading_ptr<float> tx_power_;
  reading_ptr<float> power_limit_;
  reading_ptr<bool> enable_;
  reading_ptr<unsigned int> loss_of_signal_;
};

}  // namespace sim
