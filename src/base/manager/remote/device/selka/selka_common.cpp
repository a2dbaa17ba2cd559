#include "base/manager/remote/device/selka/selka_common.h"

#include "base/manager/remote/device/subscription.h"
#include "helpers/logger.h"

namespace manager::remote::device::selka {

void selka_common::subscribe(const client_ptr& client, const subscriber_ptr& values) {
  LUMORA_LOG(2, "Starting remote subscription against SELKA products.");
  subscribe_all(*client, *values, terminal_line_paths, family::selka);
  LUMORA_LOG(2, "Remote subscription complete.");
}

void selka_common::subscribe_channel(const client_ptr& client, const subscriber_ptr& values,
                                     unsigned id) {
  LUMORA_LOG(2, "Starting remote channel subscription against SELKA.");
  subscribe_all(*client, *values, terminal_channel_paths, family::selka, id);
  LUMORA_LOG(2, "Remote channel subscription complete.");
}

}  // namespace manager::remote::device::selka
