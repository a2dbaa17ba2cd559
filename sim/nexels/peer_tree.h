// The value tree of a simulated peer: what the node at the far end of the fibre shows over the
// supervisory link, so that a single daemon has a peer to read. Families differ in their paths; the
// values are those of the far end's instruments, including noise. Nobody writes to it.
//
// Published with the plant's lock held, once a second of plant time, as a node polls its devices.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "sim/nexels/device_tree.h"
#include "sim/plant/line_system.h"

namespace sim {

class peer_tree : public device_tree {
 public:
  /// `family` is one of `models::simulated_peers()`.
  peer_tree(std::mutex& light, const line_system& system, const std::string& family);
  void publish() override;

 private:
  void add_identity(const std::string& family);
  void add_line();
  void add_dispersion();
  void add_channel(std::size_t slot, bool with_osnr);

  template <class T>
  void add_value(const std::string& path, std::function<T()> read);

  bool is_orva() const { return model_ && model_->kin == models::family::orva; }
  bool has_compensator() const { return model_ && model_->has_compensator; }

  const line_system& system_;
  const models::model* model_;  // null: an in-line amplifier
  std::vector<std::function<void()>> updates_;
  std::chrono::nanoseconds published_{-1};
};

}  // namespace sim
