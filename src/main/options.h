// The daemon's command line.
#pragma once

#include <optional>
#include <string>

#include "models/model.h"

struct options {
  unsigned port = 5100;                      ///< TCP port of the tree on the supervisory link
  std::string interface_name = "eth_sfp_1";  ///< network interface of the supervisory link
  std::string product = models::default_name;
};

/// Empty if the process is to exit with status 1: --help was given, or the command line is wrong.
/// The help has then been printed to standard output.
std::optional<options> parse_options(int argc, const char** argv);
