// The small services of the line: "voa_sfp", "osc1" and "sfp/0".
#pragma once

#include "sim/nexels/device_tree.h"
#include "sim/plant/line_voa.h"
#include "sim/plant/supervisory_channel.h"

namespace sim {

class voa_tree : public device_tree {
 public:
  voa_tree(std::mutex& light, line_voa& device);
  void publish() override;

 private:
  line_voa& device_;
  reading_ptr<float> attenuation_;
};

class osc_tree : public device_tree {
 public:
  osc_tree(std::mutex& light, supervisory_channel& device);
  void publish() override;

 private:
  supervisory_channel& device_;
  reading_ptr<std::string> state_;
  reading_ptr<std::string> neighbour_;
  reading_ptr<float> fibre_length_;
  reading_ptr<float> fibre_dispersion_;
  reading_ptr<unsigned int> loss_of_link_;
};

class sfp_tree : public device_tree {
 public:
  sfp_tree(std::mutex& light, supervisory_channel& device);
  void publish() override;

 private:
  supervisory_channel& device_;
  reading_ptr<float> rx_power_;
  reading_ptr<float> tx_power_;
  reading_ptr<std::string> oper_status_;
  reading_ptr<unsigned int> loss_of_signal_;
};

}  // namespace sim
