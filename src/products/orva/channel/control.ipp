#pragma once

#include "api/config_param.h"
#include "api/const_value.h"
#include "api/volatile_value.h"
#include "base/channel/control/base.ipp"
#include "products/orva/channel/control.h"

namespace products::orva::channel {

template <class T>
std::string control<T>::get_admin_status() {
  const std::lock_guard lock(admin_status_mutex_);
  return admin_status_;
}

template <class T>
void control<T>::set_admin_status(std::string status) {
  const std::lock_guard lock(admin_status_mutex_);
  admin_status_ = std::move(status);
}

template <class T>
bool control<T>::is_admin_up() {
  return get_admin_status() == "up";
}

template <class T>
bool control<T>::is_admin_down() {
  return get_admin_status() == "down";
}

template <class T>
bool control<T>::is_on_target() {
  return base::is_on_target() && is_admin_up();
}

template <class T>
bool control<T>::can_regulate(std::shared_ptr<device::interfaces::wss> wss,
                              float power_difference) {
  // The base first: it keeps its history and its log line up to date whatever the operator wants.
  const bool possible = base::can_regulate(std::move(wss), power_difference);
  if (!is_admin_down()) return possible;
  this->conclude(insight::channel_reason::blocked);  // changed since the cycle looked
  return false;
}

template <class T>
std::shared_ptr<control<T>> control<T>::shared_self() {
  return std::static_pointer_cast<control<T>>(this->shared_from_this());
}

template <class T>
void control<T>::setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values) {
  base::setup_channel_api(db, values);
  const auto self = shared_self();
  values->add_value(nx::api::prompt_param<&control<T>::set_admin_status>::create(
                        db, this->value_path("config", "adminStatus"), std::nullopt, self),
                    0);
  values->add_value(nx::api::volatile_value<&control<T>::get_admin_status>::create(
                        db, this->value_path("data", "adminStatus"), self),
                    0);
  values->add_value(
      nx::api::const_value<unsigned>::create(db, this->value_path("data", "frequency"),
                                             this->get_channel()->get_center_frequency()),
      0);
}

}  // namespace products::orva::channel
