// What is at the far end of the fibre: nothing that can be read, a second daemon, or a simulated
// peer.
#pragma once

#include <string>
#include <vector>

namespace tools::lab {

struct neighbour {
  enum class kind { none, daemon, simulated };
  kind what = kind::none;
  std::string name = {};  ///< the daemon's product, or the simulated peer's family

  bool is_daemon() const { return what == kind::daemon; }
  bool is_simulated() const { return what == kind::simulated; }
};

/// `asked` is a product, a family such as "tarn-one", or empty for the near node's own product.
/// Throws std::invalid_argument, listing what is known.
neighbour find_neighbour(const std::string& asked, const std::string& own_product);

/// The simulated peer of this product's kind, where no second daemon can or need run.
neighbour simulated_like(const std::string& product);

/// Products and families.
std::vector<std::string> neighbour_names();

}  // namespace tools::lab
