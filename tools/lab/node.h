// One node of the lab: the simulated devices and the daemon, both below the node's own root folder,
// and links to their trees.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tools/lab/lab_folder.h"
#include "tools/lab/product.h"
#include "tools/lab/readings.h"
#include "tools/lab/store.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/tree_link.h"

namespace tools::lab {

struct node_options {
  product model;
  std::filesystem::path topology;
  unsigned seed = 1;
};

class node {
 public:
  /// Starts the devices, then the daemon, and waits until both serve their trees. Throws
  /// lab_failure, `interrupted`.
  node(supervisor& programs, const lab_folder& folder, const store& keys, const node_options& what);

  /// Plays the management software's part: waits for the daemon's request, adds the channels where
  /// the model has no fixed ones, says that the configuration has been written, and asks for the
  /// report of each cycle.
  void configure(supervisor& programs);

  /// Switches the lasers on that the topology lights, and gives how many they are.
  unsigned light_up();

  /// Everything that the view is made of, as it is now.
  readings look();

  const std::string& daemon_log() const { return daemon_log_; }

 private:
  void start_devices(supervisor& programs, const lab_folder& folder, const store& keys,
                     const node_options& what);
  void start_daemon(supervisor& programs, const store& keys, const node_options& what);
  void darken();
  void add_channels();
  void write_daemon(const std::string& path, const std::string& value);
  std::string socket(const char* path) const { return root_ + path; }

  std::string root_;
  std::string daemon_log_;
  std::vector<unsigned> lasers_;  ///< centre frequencies of those to light, units of 10 MHz
  tree_link daemon_;
  tree_link plant_;
  tree_link booster_;
  tree_link preamp_;
  tree_link voa_;
};

}  // namespace tools::lab
