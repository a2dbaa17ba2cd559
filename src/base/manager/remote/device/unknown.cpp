#include "base/manager/remote/device/unknown.h"

#include "helpers/logger.h"

namespace manager::remote::device {

void unknown::subscribe(const client_ptr&, const subscriber_ptr&) {
  LUMORA_LOG(2, "No remote subscription against unknown device.");
}

void unknown::subscribe_channel(const client_ptr&, const subscriber_ptr&, unsigned) {}

}  // namespace manager::remote::device
