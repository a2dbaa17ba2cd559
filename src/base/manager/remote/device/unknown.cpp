#include "base/manager/remote/device/unknown.h"

namespace manager::remote::device {

path_group unknown::line_paths() {
  return {
      .starting = "No remote subscription against unknown device.", .complete = "", .paths = {}};
}

path_group unknown::channel_paths(unsigned) {
  return {};
}

}  // namespace manager::remote::device
