// What differs by name between the two directions of the client loops: words, paths, messages and
// the operations of the LED manager. One row each, for easy comparison.
#pragma once

struct board_numbers;
class board_number;

namespace manager {
class leds;
}

namespace manager::loops {

struct client_direction {
  const char* word;  ///< "rx" or "tx": second placeholder of the channel paths

  board_number board_numbers::*board_calibration;  ///< initial EDFA calibration
  const char* edfa_calibration_path;
  const char* edfa_saturation_path;
  const char* wanted_power_offset_path;

  const char* plan_not_loaded;
  const char* operational;
  const char* setting_up_plan;
  const char* does_not_fit;
  const char* setting_up_subscriptions;
  const char* subscribing;
  const char* setting_default;
  const char* managing;
  const char* blocking;
  const char* unblocking;
  const char* tx_power_too_low;
  const char* calibration_updated;
  const char* calibration_refused;

  void (leds::*add_led_channel)(unsigned channel);
  void (leds::*remove_led_channel)(unsigned channel);
  void (leds::*update_led_port)(unsigned channel, unsigned port);
  void (leds::*update_led_loss_of_signal)(unsigned channel, bool value);
};

extern const client_direction client_rx_direction;
extern const client_direction client_tx_direction;

}  // namespace manager::loops
