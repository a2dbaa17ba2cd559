#include "base/manager/remote/device/orva/orva_common.h"

#include "base/manager/remote/device/subscription.h"

namespace manager::remote::device::orva {

path_group orva_common::line_paths() {
  return {.starting = "Starting remote subscription against ORVA products.",
          .complete = "Remote subscription complete.",
          .paths = offered_paths(terminal_line_paths, family::orva)};
}

path_group orva_common::channel_paths(unsigned id) {
  return {.starting = "Starting remote channel subscription against ORVA-BASE.",
          .complete = "Remote channel subscription complete.",
          .paths = offered_paths(terminal_channel_paths, family::orva, id)};
}

path_group orvapro::line_paths() {
  auto group = orva_common::line_paths();
  const auto compensation = offered_paths(dispersion_paths, family::orva);
  group.paths.insert(group.paths.begin(), compensation.begin(), compensation.end());
  return group;
}

}  // namespace manager::remote::device::orva
