#include "base/guards/calibration_evidence.h"

#include <cmath>

namespace guards {

namespace {

using namespace std::chrono_literals;

constexpr float settled_db = 0.3f;
constexpr auto believed_unchanged = 30s;

bool is_same_light(float power, float other) {
  return std::fabs(power - other) < settled_db;
}

}  // namespace

void calibration_evidence::begin_anew() {
  *this = {};
}

void calibration_evidence::look(float tx_power, float total_power, time_point now) {
  const pass present{tx_power, total_power};
  if (!last_) changed_at_ = now;
  const bool tx_changed = last_ && last_->tx_power != tx_power;
  const bool total_changed = last_ && last_->total_power != total_power;
  tx_has_changed_ = tx_has_changed_ || tx_changed;
  total_has_changed_ = total_has_changed_ || total_changed;
  if (total_changed) {
    at_former_ = at_pass_;
    at_pass_ = present;
  }
  if (tx_changed || total_changed) changed_at_ = now;
  settled_ = at_former_ && is_same_light(at_former_->tx_power, tx_power) &&
             is_same_light(at_pass_->tx_power, tx_power) &&
             is_same_light(at_former_->total_power, total_power);
  last_ = present;
}

bool calibration_evidence::is_sound(time_point now) const {
  if (!last_) return false;
  if (now - changed_at_ >= believed_unchanged) return true;
  return tx_has_changed_ && total_has_changed_ && settled_;
}

}  // namespace guards
