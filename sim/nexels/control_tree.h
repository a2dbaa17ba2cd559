// "sim", the simulator's own tree: what breaks the plant and mends it, and the truth beside the
// read-outs. Its settings act through the plant, on the thread of the client that writes; the truth
// follows once a second of plant time.
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

  /// The services of a node that has them.
  void add_nexels(unsigned number, const std::vector<std::string>& names);
  /// Shows a state that was set by another way; `index` in the order of `add_nexels`.
  void show_nexel_state(unsigned number, std::size_t index, nexel_state state);

 private:
  struct fibre_values {
    std::shared_ptr<setting<bool>> cut;
    reading_ptr<float> span_loss;
    reading_ptr<float> raman_tilt;
  };
  struct channel_values {
    std::shared_ptr<setting<bool>> laser_on;
    reading_ptr<float> laser_power;
    reading_ptr<float> booster_output;
    reading_ptr<float> booster_target;
    reading_ptr<float> line_output;
    reading_ptr<float> line_input;
    reading_ptr<float> preamp_output;
    reading_ptr<float> client_output;
    reading_ptr<float> osnr;
    std::array<reading_ptr<float>, 2> attenuation;
    std::array<reading_ptr<unsigned int>, 2> writes;
  };
  struct amplifier_values {
    reading_ptr<float> gain;
    reading_ptr<float> saturation;
    reading_ptr<float> total;
    reading_ptr<unsigned int> writes;
  };
  struct node_values {
    std::vector<channel_values> channels;
    std::array<amplifier_values, 2> amplifiers;
    std::array<reading_ptr<unsigned int>, 2> switch_writes;
    std::vector<std::shared_ptr<setting<std::string>>> nexels;
    reading_ptr<float> voa_attenuation;
    reading_ptr<unsigned int> voa_writes;
  };

  void add_fibre(unsigned fibre);
  void add_node(unsigned number);
  void add_band_commands(unsigned number, const std::string& below);
  void add_laser(unsigned number, const std::string& below, unsigned channel, channel_values& to);
  void add_laser_number(unsigned number, unsigned channel, const std::string& path,
                        double laser_settings::*member, double low, double high, const char* unit);
  void add_channel_truth(const std::string& below, unsigned channel, channel_values& to);
  void add_amplifier_truth(const std::string& below, direction side, amplifier_values& to);
  void add_instruments(unsigned number, const std::string& below);
  void add_monitor(unsigned number, const std::string& below, direction side);
  void publish_fibre(unsigned fibre);
  void publish_channel(unsigned number, std::size_t slot);
  void publish_node(unsigned number);

  plant& owner_;
  const line_system& system_;
  reading_ptr<float> time_;
  std::array<fibre_values, 2> fibres_;
  std::vector<node_values> nodes_;
  std::chrono::nanoseconds published_{-1};
};

const char* word_of(nexel_state state);
/// Throws nx_error -22 with the accepted words.
nexel_state nexel_state_of(const std::string& word);

}  // namespace sim
