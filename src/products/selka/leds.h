// The LEDs of selkamin: 40 pairs for the channels of the client port, three for the cross-connect
// ports and one for the line. A channel of the client port uses the LED of its frequency, any other
// the LED of its port.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "base/manager/leds.h"
#include "models/model.h"

namespace products::selka {

class leds : public ::manager::leds {
 public:
  void start(bool coldstart) override;
  void update_led_statuses() override;
  void boot_thread_function() override;

 private:
  std::optional<led_place> place_of(unsigned channel, const ::manager::channelDB_t& entry) const;

  const models::model& model_ = models::get("selkamin");
  std::uint32_t client_count_ = model_.panel.clients;
  std::uint32_t xc_count_ = model_.panel.cross_connects;
  std::optional<unsigned> client_port_ = models::port_number(model_, "localAD");
  std::uint32_t line_count_ = 1;
  std::unordered_map<unsigned, unsigned> led_of_frequency_;
  std::unordered_map<unsigned, unsigned> xc_of_port_;
};

}  // namespace products::selka
