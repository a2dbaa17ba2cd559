#include "base/manager/remote/device/tarn/tarn_common.h"

#include "base/manager/remote/device/subscription.h"

namespace manager::remote::device::tarn {

path_group tarn_common::line_paths() {
  return {.starting = "Starting remote subscription against TARN products.",
          .complete = "Remote subscription complete.",
          .paths = offered_paths(tarn_line_paths, family::tarn)};
}

path_group tarn_common::channel_paths(unsigned) {
  return {};
}

}  // namespace manager::remote::device::tarn
