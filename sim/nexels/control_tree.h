// "sim", the simulator's own tree: controls that break and mend the plant (control_tree.cpp,
// fault_paths.cpp), and the truth next to the read-outs (truth_paths.cpp). Its settings act on the
// plant on the writing client's thread; truth and read-outs are updated once a second of plant
// time.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "sim/nexels/device_tree.h"
#include "sim/plant.h"
#include "sim/plant/line_system.h"

namespace sim {

class control_tree : public device_tree {
 public:
  control_tree(std::mutex& light, plant& owner, const line_system& system);
  void publish() override;

  /// The services of a node, for nodes that have them.
  void add_nexels(unsigned number, const std::vector<std::string>& names);
  /// Show a change that was made in another way; `index` in the order of `add_nexels`.
  void show_nexel_state(unsigned number, std::size_t index, nexel_state state);
  void show_latency(unsigned number, std::size_t index, std::chrono::milliseconds latency);

 private:
  void add_fibre(unsigned fibre);
  void add_node(unsigned number);
  void add_band_commands(unsigned number, const std::string& below);
  void add_laser(unsigned number, const std::string& below, unsigned channel);
  void add_laser_number(unsigned number, unsigned channel, const std::string& path,
                        double laser_settings::*member, double low, double high, const char* unit);
  void add_fibre_truth(unsigned fibre);
  void add_node_truth(unsigned number);
  void add_side_truth(unsigned number, direction side);
  void add_channel_truth(unsigned number, unsigned channel);
  void add_channel_side(unsigned number, unsigned channel, direction side);
  void add_nexel(unsigned number, const std::string& name);
  void add_fault_commands(unsigned number, const std::string& name, const std::string& path);
  void add_restart(unsigned number, const std::string& name, const std::string& path);
  void add_light_faults(unsigned number, const std::string& below);
  void add_amplifier_faults(unsigned number, const std::string& below, direction side);
  void add_instruments(unsigned number, const std::string& below);
  void add_monitor(unsigned number, const std::string& below, direction side);

  /// Publishes the result of `value` once a second.
  template <class Shown>
  void follow(std::shared_ptr<Shown> shown, auto value) {
    followers_.push_back([=] { shown->update(value()); });
  }
  void follow(const std::string& path, const std::function<double()>& value);
  void count(const std::string& path, const std::function<unsigned()>& value);

  plant& owner_;
  const line_system& system_;
  reading_ptr<float> time_;
  std::vector<std::function<void()>> followers_;
  struct nexel_settings {
    std::shared_ptr<setting<std::string>> state;
    std::shared_ptr<setting<unsigned int>> latency;
  };
  std::vector<std::vector<nexel_settings>> nexels_;  // for each node
  std::chrono::nanoseconds published_{-1};
};

const char* word_of(nexel_state state);
const char* word_of(direction side);
/// Throws nx_error -22 with the accepted words.
nexel_state nexel_state_of(const std::string& word);

}  // namespace sim
