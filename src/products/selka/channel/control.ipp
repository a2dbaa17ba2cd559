#pragma once

#include "api/config_param.h"
#include "api/const_value.h"
#include "base/channel/control/base.ipp"
#include "products/selka/channel/control.h"

namespace products::selka::channel {

template <class T>
bool control<T>::is_admin_down() {
  return mode_ == optical_control_mode::off;
}

template <class T>
bool control<T>::can_regulate(std::shared_ptr<device::interfaces::wss> wss,
                              float power_difference) {
  // The base first: it keeps its history and its log line up to date whatever the mode.
  const bool possible = base::can_regulate(std::move(wss), power_difference);
  if (mode_ == optical_control_mode::power) return possible;
  this->conclude(insight::channel_reason::mode_leaves_alone);
  return false;
}

template <class T>
std::string control<T>::get_wss_port_name() {
  return selka_port_name(this->get_channel()->get_wss_port());
}

template <class T>
std::string control<T>::get_optical_control_mode() {
  return to_text(mode_);
}

template <class T>
bool control<T>::is_optical_control_mode_known() {
  return mode_ != optical_control_mode::unknown;
}

template <class T>
void control<T>::set_target_output_power(float power) {
  target_output_power_ = power;
  if (target_output_power_value_) target_output_power_value_->update(power);
}

template <class T>
float control<T>::get_target_output_power() {
  return target_output_power_;
}

template <class T>
void control<T>::set_optical_control_mode(std::string text) {
  const std::lock_guard lock(mode_mutex_);
  mode_ = optical_control_mode_from_text(text);
  LUMORA_LOG(2, "OCM UPDATE! set_optical_control_mode({}, {})", this->get_channel()->get_id(),
             text);
  if (mode_value_) mode_value_->update(text);
}

// The mode can be written once its parameter is on the tree, which is before its value is.
template <class T>
void control<T>::show_mode(std::shared_ptr<nx::api::pushed_value<std::string>> value) {
  const std::lock_guard lock(mode_mutex_);
  mode_value_ = std::move(value);
  mode_value_->update(get_optical_control_mode());
}

template <class T>
void control<T>::setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values) {
  base::setup_channel_api(db, values);
  const auto self = std::static_pointer_cast<control<T>>(this->shared_from_this());
  values->add_value(nx::api::prompt_param<&control<T>::set_optical_control_mode>::create(
                        db, this->value_path("config", "opticalControlMode"), std::nullopt, self),
                    0);
  show_mode(nx::api::pushed_value<std::string>::create(
      db, this->value_path("data", "opticalControlMode")));
  target_output_power_value_ = nx::api::pushed_value<float>::create(
      db, this->value_path("data", "targetOutputPower"), 1, 0.2);
  values->add_value(nx::api::const_value<std::string>::create(
                        db, this->value_path("data", "trafficFormatTxt"), "Coherent"),
                    0);
}

}  // namespace products::selka::channel
