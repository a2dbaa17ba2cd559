// The client RX loop of orvakin: as every model's, but a saturated booster lowers the targets by up
// to 5 dB.
#pragma once

#include "base/manager/loops/client_rx.h"

namespace products::orva::orvakin {

/// Largest saturation that lowers the channels' targets, dB.
inline constexpr float saturation_cap = 5.0f;

template <class T>
class client_rx : public ::manager::loops::client_rx<T> {
 public:
  using ::manager::loops::client_rx<T>::client_rx;

  float get_edfa_saturation() override;
};

}  // namespace products::orva::orvakin
