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

/// Empty when the process is to end with status 1: the help was asked for, or the command line is
/// not understood. The help has been printed to standard output then.
std::optional<options> parse_options(int argc, const char** argv);
