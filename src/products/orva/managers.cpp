// The orva managers, instantiated for their control type.
#include "products/control_types_full.h"
#include "products/orva/leds.h"
#include "products/orva/manager.ipp"
#include "products/orva/orvakin/manager.ipp"
#include "products/orva/orvakin/orvakinet/manager.h"
#include "products/orva/orvalite/manager.h"
#include "products/orva/orvamax/manager.h"
#include "products/orva/orvapro/manager.ipp"

namespace products::orva {

template <class RX_T, class TX_T>
void orvalite::manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<orvalite::leds>();
}

template <class RX_T, class TX_T>
void orvamax::manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<orvamax::leds>();
}

template <class RX_T, class TX_T>
void orvapro::manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<orvapro::leds>();
}

template <class RX_T, class TX_T>
void orvakin::orvakinet::manager<RX_T, TX_T>::create_leds() {
  this->leds_ = std::make_shared<orvakinet::leds>();
}

}  // namespace products::orva

template class manager::base<products::orva_control, products::orva_control>;
template class products::orva::manager<products::orva_control, products::orva_control>;
template class products::orva::orvalite::manager<products::orva_control, products::orva_control>;
template class products::orva::orvamax::manager<products::orva_control, products::orva_control>;
template class products::orva::orvapro::manager<products::orva_control, products::orva_control>;
template class products::orva::orvakin::manager<products::orva_control, products::orva_control>;
template class products::orva::orvakin::orvakinet::manager<products::orva_control,
                                                           products::orva_control>;
