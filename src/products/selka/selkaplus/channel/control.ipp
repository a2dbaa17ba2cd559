#pragma once

#include "models/model.h"
#include "products/selka/channel/control.ipp"
#include "products/selka/selkaplus/channel/control.h"

namespace products::selka::selkaplus::channel {

template <class T>
float control<T>::get_default_attenuation() {
  if (this->get_channel()->get_direction() != "tx") {
    return selka::channel::control<T>::get_default_attenuation();
  }
  return this->get_configured_attenuation().value_or(models::get("selkaplus").parked_tx);
}

template <class T>
std::string control<T>::get_wss_port_name() {
  const auto port = this->get_channel()->get_wss_port();
  return port == off_port_ ? "off" : fmt::format("xc{}", port);
}

}  // namespace products::selka::selkaplus::channel
