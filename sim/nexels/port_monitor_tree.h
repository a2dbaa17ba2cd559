// "ocm", the channel monitor of the selka models: port 0 at the booster, port 1 at the preamp. It
// measures the channels it has been given.
#pragma once

#include <array>
#include <map>

#include "sim/nexels/channel_request.h"
#include "sim/nexels/device_tree.h"
#include "sim/plant/node.h"

namespace sim {

class port_monitor_tree : public device_tree {
 public:
  port_monitor_tree(std::mutex& light, node& of);
  void publish() override;
  void forget_channels() override;
  void refuse_known_channels(bool refuse) override { refuses_known_ = refuse; }

 private:
  struct channel {
    std::size_t slot;  ///< the grid's size for a channel without a laser
    reading_ptr<float> power;
    reading_ptr<bool> peak;
  };
  struct port {
    unsigned number;
    channel_monitor* device;
    reading_ptr<bool> plan_loaded;
    reading_ptr<float> total;
    std::map<unsigned, channel> channels;
  };
  void add_commands(port& of);
  bool add_channel(port& to, unsigned centre);
  bool remove_channel(port& from, unsigned centre);
  void clear(port& of);

  node& node_;
  std::array<port, 2> ports_;
  bool refuses_known_ = false;
};

}  // namespace sim
