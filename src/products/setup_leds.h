// How every model starts its panel: its LED class gets the panel's proxy and its thread.
#pragma once

class nx_db;
namespace manager {
class leds;
}

namespace products {

/// `leds` is the result of the model's create_leds.
void start_leds(nx_db& db, manager::leds& leds, bool coldstart);

}  // namespace products
