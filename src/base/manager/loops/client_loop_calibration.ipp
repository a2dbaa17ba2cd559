// Definitions of client_loop: the calibration between the amplifier's output and the monitor, which
// follows the amplifier while nothing is regulated.
#pragma once

#include <fmt/format.h>

#include "base/manager/loops/client_loop.h"
#include "helpers/calibration.h"
#include "helpers/guard_register.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::loops {

template <class T>
void client_loop<T>::update_edfa_calibration() {
  try {
    follow_edfa();
  } catch (...) {
    calibration_evidence_.begin_anew();
    throw;
  }
}

template <class T>
void client_loop<T>::follow_edfa() {
  constexpr float lowest_tx_power = -30.0f;
  bool due = calibration_is_due();
  const float tx_power = edfa_->get_tx_power();
  edfa_is_lit_ = tx_power >= lowest_tx_power;
  if (tx_power < lowest_tx_power) {
    LUMORA_LOG(1, fmt::runtime(direction_.tx_power_too_low), tx_power);
    due = false;
  }
  const auto now = helpers::steady_now();
  const float saturation = edfa_->get_saturation();
  edfa_saturation_value_->update(saturation);
  saturation_.look(saturation, now);
  if (!due) return;
  if (!knows_power_limit_) edfa_power_limit_ = edfa_->get_power_limit();
  knows_power_limit_ = true;
  calibration_evidence_.look(tx_power, ocm_->get_total_power(), now);
  if (!is_calibration_withheld()) calibrate();
}

template <class T>
bool client_loop<T>::calibration_is_due() const {
  constexpr std::chrono::seconds interval{300};
  const auto since = helpers::system_now() - last_regulation_;
  return std::chrono::duration_cast<std::chrono::seconds>(since) > interval ||
         !edfa_calibration_.is_finite() || !has_calibrated_;
}

template <class T>
bool client_loop<T>::is_calibration_withheld() {
  // A limit that has fallen permanently is learned eventually.
  constexpr std::chrono::seconds longest_saturation{300};
  auto& board = helpers::guard_register::instance();
  const auto now = helpers::steady_now();
  const bool saturated = has_calibrated_ && saturation_.is_saturated() &&
                         saturation_.lasting(now) < longest_saturation;
  if (!saturated && calibration_evidence_.is_sound(now)) {
    board.end(guards::calibration_readings, calibration_subject());
    return false;
  }
  board.withhold(guards::calibration_readings, calibration_subject(),
                 saturated ? "the amplifier is in saturation"
                           : "amplifier and monitor have not seen the same light yet");
  return true;
}

template <class T>
std::string client_loop<T>::calibration_subject() const {
  return fmt::format("client {} calibration", direction_.word);
}

template <class T>
void client_loop<T>::calibrate() {
  edfa_power_limit_ = edfa_->get_power_limit();
  learn_calibration();
  store_gain();
  has_calibrated_ = true;
  last_regulation_ = helpers::system_now();
}

template <class T>
void client_loop<T>::learn_calibration() {
  const float difference = edfa_->get_tx_power() - ocm_->get_total_power();
  if (!edfa_calibration_.is_finite()) {
    edfa_calibration_.restart((calibration::instance().board().*direction_.board_calibration)());
  }
  if (edfa_calibration_.accept(difference)) {
    LUMORA_LOG(1, fmt::runtime(direction_.calibration_updated), edfa_calibration_.get());
    store_calibration(edfa_calibration_.get());
  } else {
    LUMORA_LOG(2, fmt::runtime(direction_.calibration_refused), difference,
               edfa_calibration_.get());
  }
}

template <class T>
float client_loop<T>::get_edfa_calibration() {
  return edfa_calibration_.get();
}

}  // namespace manager::loops
