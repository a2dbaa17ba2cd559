// Definitions of channel::control::base: its settings, and what the loops know of it. The law is in
// law.ipp, the guards on it in guarded.ipp. Included where it is instantiated.
#pragma once

#include <fmt/format.h>

#include "api/config_param.h"
#include "api/const_value.h"
#include "base/channel/control/base.h"
#include "platform/wire/nx_error.h"

namespace channel::control {

template <class T>
base<T>::base() : channel_(std::make_shared<T>()) {}

template <class T>
base<T>::~base() {
  release_guards();
}

template <class T>
std::shared_ptr<T> base<T>::get_channel() {
  return channel_;
}

template <class T>
bool base<T>::is_admin_up() {
  return true;
}

template <class T>
bool base<T>::is_admin_down() {
  return false;
}

template <class T>
bool base<T>::is_on_target() {
  return on_target_;
}

template <class T>
void base<T>::set_on_target(bool on_target) {
  on_target_ = on_target;
  verdict_.is_on_target = on_target;
}

template <class T>
void base<T>::add_subscribe_failure() {
  ++subscribe_failures_;
}

template <class T>
unsigned base<T>::get_subscribe_failures() {
  return subscribe_failures_;
}

template <class T>
void base<T>::reset_subscribe_failures() {
  subscribe_failures_ = 0;
}

template <class T>
std::optional<float>& base<T>::default_of_direction() {
  const auto direction = channel_->get_direction();
  if (direction == "rx") return default_attenuation_rx_;
  if (direction == "tx") return default_attenuation_tx_;
  throw nx_error(nx_error::invalid, fmt::format("Invalid channel direction {}", direction));
}

template <class T>
void base<T>::set_default_attenuation(float attenuation) {
  {
    const std::lock_guard lock(settings_mutex_);
    default_of_direction() = attenuation;
  }
  if (default_attenuation_value_) default_attenuation_value_->update(attenuation);
}

template <class T>
std::optional<float> base<T>::get_configured_attenuation() {
  const std::lock_guard lock(settings_mutex_);
  return default_of_direction();
}

template <class T>
float base<T>::get_default_attenuation() {
  constexpr float default_rx = 15.0f;
  constexpr float default_tx = 5.0f;
  return get_configured_attenuation().value_or(channel_->get_direction() == "rx" ? default_rx
                                                                                 : default_tx);
}

template <class T>
void base<T>::set_description(std::string description) {
  const std::lock_guard lock(settings_mutex_);
  description_ = std::move(description);
}

template <class T>
std::string base<T>::value_path(const char* root, const char* name) {
  return fmt::format("{}/client/{}/{}/{}", root, channel_->get_id(), channel_->get_direction(),
                     name);
}

template <class T>
void base<T>::setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values) {
  using nx::api::prompt_param;
  default_attenuation_value_ =
      nx::api::pushed_value<float>::create(db, value_path("data", "defaultAttenuation"), 1, 0.2);
  values->add_value(
      prompt_param<&base<T>::set_default_attenuation>::create(
          db, value_path("config", "defaultAttenuation"), std::nullopt, this->shared_from_this()),
      0);
  values->add_value(prompt_param<&base<T>::set_description>::create(
                        db, value_path("config", "description"), "", this->shared_from_this()),
                    0);
  values->add_value(nx::api::const_value<std::string>::create(db, value_path("data", "wssPortName"),
                                                              get_wss_port_name()),
                    0);
}

template <class T>
std::string base<T>::get_wss_port_name() {
  return "localAD";
}

}  // namespace channel::control

#include "base/channel/control/guarded.ipp"
#include "base/channel/control/law.ipp"
