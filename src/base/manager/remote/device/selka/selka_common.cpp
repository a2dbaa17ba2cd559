#include "base/manager/remote/device/selka/selka_common.h"

#include "base/manager/remote/device/subscription.h"

namespace manager::remote::device::selka {

path_group selka_common::line_paths() {
  return {.starting = "Starting remote subscription against SELKA products.",
          .complete = "Remote subscription complete.",
          .paths = offered_paths(terminal_line_paths, family::selka)};
}

path_group selka_common::channel_paths(unsigned id) {
  return {.starting = "Starting remote channel subscription against SELKA.",
          .complete = "Remote channel subscription complete.",
          .paths = offered_paths(terminal_channel_paths, family::selka, id)};
}

}  // namespace manager::remote::device::selka
