#include "base/manager/loops/client_direction.h"

#include "base/manager/leds.h"
#include "helpers/calibration.h"

namespace manager::loops {

const client_direction client_rx_direction{
    .word = "rx",
    .board_calibration = &board_numbers::mon_to_boostertx_db,
    .edfa_calibration_path = "data/client/rx/edfaCalibration",
    .edfa_saturation_path = "data/client/rx/edfaSaturation",
    .wanted_power_offset_path = "config/client/{}/rx/wantedPowerOffset",
    .plan_not_loaded = "Channel plan RX not loaded, setting up channel plan.",
    .operational = "client_rx loop is now operational.",
    .setting_up_plan = "Setting up channel plan for client_rx.",
    .does_not_fit = "RX channel {}, width {}, does not fit. It overlaps with channel {}, width {}.",
    .setting_up_subscriptions = "Setting up channel subscription on {} channels for client_rx.",
    .subscribing = "Subscribing to RX channel {}",
    .setting_default = "Setting default attenuation on rx channel {}",
    .managing = "Managing rx channel {}",
    .blocking = "Blocking rx channel {}",
    .unblocking = "Unblocking rx channel {}",
    .tx_power_too_low = "RX EDFA TX power is too low ({}), skipping calibration update.",
    .calibration_updated = "EDFA RX calibration update: {}",
    .calibration_refused =
        "EDFA RX power difference is too large, NaN or Inf ({}/{}), skipping calibration update.",
    .add_led_channel = &leds::add_rx_channel,
    .remove_led_channel = &leds::remove_rx_channel,
    .update_led_port = &leds::update_rx_port,
    .update_led_loss_of_signal = &leds::update_rx_loss_of_signal,
};

const client_direction client_tx_direction{
    .word = "tx",
    .board_calibration = &board_numbers::mon_to_preamptx_db,
    .edfa_calibration_path = "data/client/tx/edfaCalibration",
    .edfa_saturation_path = "data/client/tx/edfaSaturation",
    .wanted_power_offset_path = "config/client/{}/tx/wantedPowerOffset",
    .plan_not_loaded = "Channel plan TX not loaded, setting up channel plan.",
    .operational = "client_tx is now operational.",
    .setting_up_plan = "Setting up channel plan for client_tx.",
    .does_not_fit = "TX channel {}, width {}, does not fit. It overlaps with channel {}, width {}.",
    .setting_up_subscriptions = "Setting up channel subscription on {} channels for client_tx.",
    .subscribing = "Subscribing to TX channel {}",
    .setting_default = "Setting default attenuation on tx channel {}",
    .managing = "Managing tx channel {}",
    .blocking = "Blocking tx channel {}",
    .unblocking = "Unblocking tx channel {}",
    .tx_power_too_low = "TX EDFA TX power is too low ({}), skipping calibration update.",
    .calibration_updated = "EDFA TX calibration update: {}",
    .calibration_refused =
        "EDFA TX power difference is too large, NaN or Inf ({}/{}), skipping calibration update.",
    .add_led_channel = &leds::add_tx_channel,
    .remove_led_channel = &leds::remove_tx_channel,
    .update_led_port = &leds::update_tx_port,
    .update_led_loss_of_signal = &leds::update_tx_loss_of_signal,
};

}  // namespace manager::loops
