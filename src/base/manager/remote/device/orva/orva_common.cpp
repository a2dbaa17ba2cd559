#include "base/manager/remote/device/orva/orva_common.h"

#include "base/manager/remote/device/subscription.h"
#include "helpers/logger.h"

namespace manager::remote::device::orva {

void orva_common::subscribe(const client_ptr& client, const subscriber_ptr& values) {
  LUMORA_LOG(2, "Starting remote subscription against ORVA products.");
  subscribe_all(*client, *values, terminal_line_paths, family::orva);
  LUMORA_LOG(2, "Remote subscription complete.");
}

void orva_common::subscribe_channel(const client_ptr& client, const subscriber_ptr& values,
                                    unsigned id) {
  LUMORA_LOG(2, "Starting remote channel subscription against ORVA-BASE.");
  subscribe_all(*client, *values, terminal_channel_paths, family::orva, id);
  LUMORA_LOG(2, "Remote channel subscription complete.");
}

void orvapro::subscribe(const client_ptr& client, const subscriber_ptr& values) {
  subscribe_all(*client, *values, dispersion_paths, family::orva);
  orva_common::subscribe(client, values);
}

}  // namespace manager::remote::device::orva
