// "wss", the twin switch of the selka models: module "add" and module "drop". Channels are added
// and removed by command; attenuations are not written to it, it reads them from the node's key
// store.
#pragma once

#include <array>
#include <map>

#include "sim/nexels/channel_request.h"
#include "sim/nexels/device_tree.h"
#include "sim/plant.h"
#include "sim/plant/node.h"

namespace sim {

class twin_switch_tree : public device_tree {
 public:
  twin_switch_tree(std::mutex& light, node& of);
  void publish() override;
  void forget_channels() override;
  void refuse_known_channels(bool refuse) override { refuses_known_ = refuse; }
  void set_source(plant::attenuation_source source) { source_ = std::move(source); }

 private:
  struct channel {
    std::size_t slot;  ///< the grid's size for a channel without a laser
    reading_ptr<float> attenuation;
    float last_wanted;  ///< as read from the store
  };
  struct module {
    const char* word;
    wave_switch* device;
    reading_ptr<bool> plan_loaded;
    std::map<unsigned, channel> channels;
  };
  void add_commands(module& of);
  bool add_channel(module& to, const channel_request& request);
  bool remove_channel(module& from, unsigned centre);
  void clear(module& of);
  void follow(module& of, unsigned centre, channel& each);
  void attenuate(module& of, channel& each, double wanted_db);

  node& node_;
  plant::attenuation_source source_;
  std::array<module, 2> modules_;
  bool refuses_known_ = false;
};

}  // namespace sim
