// How every model brings its panel up: its LED class gets the proxy of the panel and its thread.
#pragma once

#include <memory>

#include "base/manager/nexel_paths.h"
#include "device/hardware/selka_led.h"
#include "helpers/logger.h"
#include "platform/value_tree/nx_db.h"

namespace products {

/// `leds` is what the model's create_leds has made.
template <class Leds>
void start_leds(nx_db& db, const std::shared_ptr<Leds>& leds, bool coldstart) {
  leds->set_led(std::make_shared<device::hardware::selka_led>(db.get_io_context(),
                                                              ::manager::nexel_paths::leds));
  leds->start(coldstart);
}

}  // namespace products
