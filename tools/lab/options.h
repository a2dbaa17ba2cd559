// The lab's command line.
#pragma once

#include <optional>
#include <string>

#include "models/model.h"
#include "tools/lab/neighbour.h"

namespace tools::lab {

enum exit_code : int { exit_ok = 0, exit_failed = 1, exit_usage = 2 };

struct options {
  std::string product = models::default_name;
  neighbour peer;
  std::string topology;  ///< empty: the product's own
  unsigned seed = 1;
  bool keep = false;
  bool log = false;
  bool web = false;
  std::optional<unsigned> until_converged;  ///< seconds
};

/// An exit code if the program has nothing more to do: help was requested, or the usage is wrong.
std::optional<int> read_options(int argc, char** argv, options& given);

}  // namespace tools::lab
