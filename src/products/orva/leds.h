// The LEDs of the orva panels: one pair for each channel of the fixed plan, one for the line. A
// channel's LED follows from its centre frequency; the port does not matter.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "base/manager/leds.h"
#include "models/model.h"

namespace products::orva {

class leds : public ::manager::leds {
 public:
  explicit leds(const models::model& model) : model_(model) {}

  void start(bool coldstart) override;
  void update_led_statuses() override;
  void boot_thread_function() override;

 private:
  const models::model& model_;
  std::uint32_t line_count_ = 1;
  std::unordered_map<unsigned, unsigned> led_of_frequency_;
};

// Those of the models: each with its row.
namespace orvalite {
class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvalite")) {}
};
}  // namespace orvalite

namespace orvamax {
class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvamax")) {}
};
}  // namespace orvamax

namespace orvapro {
class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvapro")) {}
};
}  // namespace orvapro

namespace orvakin::orvakinet {
class leds : public orva::leds {
 public:
  leds() : orva::leds(models::get("orvakinet")) {}
};
}  // namespace orvakin::orvakinet

}  // namespace products::orva
