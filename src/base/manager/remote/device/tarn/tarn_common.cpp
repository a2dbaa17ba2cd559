#include "base/manager/remote/device/tarn/tarn_common.h"

#include "base/manager/remote/device/subscription.h"
#include "helpers/logger.h"

namespace manager::remote::device::tarn {

void tarn_common::subscribe(const client_ptr& client, const subscriber_ptr& values) {
  LUMORA_LOG(2, "Starting remote subscription against TARN products.");
  subscribe_all(*client, *values, tarn_line_paths, family::tarn);
  LUMORA_LOG(2, "Remote subscription complete.");
}

void tarn_common::subscribe_channel(const client_ptr&, const subscriber_ptr&, unsigned) {}

}  // namespace manager::remote::device::tarn
