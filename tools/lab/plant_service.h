// The simulated plant of a lab: the program that serves every device of one or two nodes, and its
// controls. The light is switched on when the daemons are there to see it; until then the lasers
// that the topology lights are only remembered.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/common/readings.h"
#include "tools/lab/lab_folder.h"
#include "tools/lab/store.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/tree_link.h"

namespace tools::lab {

struct plant_options {
  std::filesystem::path root;  ///< NX_ROOT of its devices
  std::filesystem::path topology;
  unsigned seed = 1;
  unsigned nodes = 1;
  std::vector<std::string> arguments;   ///< additional variables
  std::vector<std::string> enter_with;  ///< command prefix that runs the program elsewhere
};

class plant_service {
 public:
  /// Starts it and waits until it serves. Throws lab_failure, `interrupted`.
  plant_service(supervisor& programs, const lab_folder& folder, const store& keys,
                const plant_options& what);

  /// Centre frequencies of the lasers to light, in units of 10 MHz, ascending.
  const std::vector<unsigned>& lasers(unsigned node) const { return lasers_.at(node); }
  /// Throws lab_failure.
  void light_up(unsigned node);
  /// Adds the true power of each channel of a node to `into`.
  void read_truth(unsigned node, readings& into);

 private:
  void darken(unsigned node);

  tree_link controls_;
  std::array<std::vector<unsigned>, 2> lasers_;
};

}  // namespace tools::lab
