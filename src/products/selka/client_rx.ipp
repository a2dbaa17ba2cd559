// Definitions of the selka client RX loop; included where it is instantiated.
#pragma once

#include "base/manager/loops/client_rx.ipp"
#include "models/band.h"
#include "products/selka/client_rx.h"

namespace products::selka {

/// GHz; the channel width that the global target refers to.
inline constexpr float reference_width = 100.0f;

template <class T>
void client_rx<T>::set_voa(std::shared_ptr<device::interfaces::voa> voa) {
  voa_ = std::move(voa);
}

template <class T>
float client_rx<T>::get_edfa_saturation() {
  return 0.0f;
}

template <class T>
void client_rx<T>::reset_channel_attenuation(control_ptr control) {
  control->release_guards();
}

template <class T>
void client_rx<T>::manage_channel(nx_db& db, control_ptr control, bool regulate) {
  const auto channel = control->get_channel();
  const auto mode = control->get_optical_control_mode();
  if (control->is_optical_control_mode_known()) {
    control->conclude(insight::channel_reason::no_light_left_alone);
    base::manage_channel(db, control, regulate);
  } else {
    control->conclude(insight::channel_reason::mode_not_set);
    LUMORA_LOG(1, "Skipping channel {} management, optical control mode is unknown.",
               channel->get_id());
  }
  if (mode == "gainLoss" || mode == "power") {
    channel->update_line_tx_power(voa_->get_attenuation(), voa_->get_insertion_loss());
  } else {
    channel->set_line_tx_power(0.0f);
  }
}

template <class T>
void client_rx<T>::apply_stored_target() {
  // Read and applied under one lock: a newer target written meanwhile is applied after it.
  const std::lock_guard lock(this->plan_->get_mutex());
  if (global_target_output_power_) apply_target(*global_target_output_power_);
}

template <class T>
void client_rx<T>::setup_channel_plan(nx_db& db) {
  base::setup_channel_plan(db);
  apply_stored_target();
}

template <class T>
void client_rx<T>::add_channel(nx_db& db, unsigned frequency, unsigned width, unsigned port,
                               std::string version) {
  base::add_channel(db, frequency, width, port, std::move(version));
  apply_stored_target();
}

template <class T>
void client_rx<T>::set_global_target_output_power(float top) {
  const std::lock_guard lock(this->plan_->get_mutex());
  global_target_output_power_ = top;
  apply_target(top);
}

template <class T>
void client_rx<T>::apply_target(float top) {
  LUMORA_LOG(2, "TOP UPDATE! set_global_target_output_power({})", top);
  for (const auto& [frequency, control] : *this->plan_->get_channels()) {
    const auto channel = control->get_channel();
    const float target = top + 10.0f * std::log10(channel->get_width() / reference_width);
    control->set_target_output_power(target);
    LUMORA_LOG(1, "Setting target output power for channel {} to {}", channel->get_id(), target);
  }
  // What the attenuation rests on is asked for at once.
  device::cycle_reads reads;
  const device::cycle_reads::scope scope(reads);
  std::vector<device::read_wish> wishes;
  this->edfa_->declare_limit_read(wishes);
  voa_->declare_reads(wishes);
  reads.ask_ahead(wishes);
  set_voa_attenuation(calculate_voa_attenuation_from_top(top, reference_width));
}

template <class T>
float client_rx<T>::calculate_voa_attenuation_from_top(float top, float width) {
  const auto& board = calibration::instance();
  const float limit = this->edfa_->get_power_limit();
  const float insertion_loss = voa_->get_insertion_loss();
  const float booster_to_line = board.board().boostertx_to_linetx_db();
  LUMORA_LOG(1, "calculate_voa_attenuation_from_top({})", top);
  LUMORA_LOG(1, "edfa_power_limit: {}", limit);
  LUMORA_LOG(1, "channel_plan_size: {}", this->plan_->get_channels()->size());
  LUMORA_LOG(1, "voa_insertion_loss: {}", insertion_loss);
  LUMORA_LOG(1, "calibration cal_boostertx_to_linetx: {}", booster_to_line);
  LUMORA_LOG(1, "remote_osc_drop_loss: {}", board.line_margin);
  const float share = ::channel::band_share_db(width, models::selka_slices);
  const float result = limit + share - top - insertion_loss + booster_to_line - board.line_margin;
  LUMORA_LOG(2, "calculate_voa_attenuation_from_top({}, {}) = {}", top, width, result);
  return result;
}

template <class T>
void client_rx<T>::set_voa_attenuation(float attenuation) {
  constexpr double close_enough_db = 0.2;
  float target = attenuation;
  if (!(voa_->get_min_attenuation() < target)) target = voa_->get_min_attenuation();
  if (!(target < voa_->get_max_attenuation())) target = voa_->get_max_attenuation();
  const float current = voa_->get_attenuation();
  if (std::fabs(double{current} - double{target}) <= close_enough_db) {
    LUMORA_LOG(1, "VOA attenuation reached ({}/{}), nothing to do.", current, target);
    return;
  }
  LUMORA_LOG(2, "Setting requested VOA attenuation {} ({})", target, attenuation);
  voa_->set_attenuation(target);
}

template <class T>
void client_rx<T>::setup_api(nx_db& db) {
  base::setup_api(db);
  const auto self = std::static_pointer_cast<client_rx<T>>(this->shared_from_this());
  this->values_->add_value(
      nx::api::config_param<&client_rx<T>::set_global_target_output_power>::create(
          db, "config/client/rx/targetOutputPower", std::nullopt, self),
      0);
}

}  // namespace products::selka
