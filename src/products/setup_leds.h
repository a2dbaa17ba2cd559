// How every model brings its panel up: its LED class gets the proxy of the panel and its thread.
#pragma once

class nx_db;
namespace manager {
class leds;
}

namespace products {

/// `leds` is what the model's create_leds has made.
void start_leds(nx_db& db, manager::leds& leds, bool coldstart);

}  // namespace products
