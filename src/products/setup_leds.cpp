#include "products/setup_leds.h"

#include "base/manager/leds.h"
#include "base/manager/nexel_paths.h"
#include "device/hardware/selka_led.h"
#include "helpers/logger.h"
#include "platform/value_tree/nx_db.h"

namespace products {

void start_leds(nx_db& db, manager::leds& leds, bool coldstart) {
  LUMORA_LOG(2, "Setting up leds.");
  leds.set_led(std::make_shared<device::hardware::selka_led>(db.get_io_context(),
                                                             manager::nexel_paths::leds));
  leds.start(coldstart);
}

}  // namespace products
