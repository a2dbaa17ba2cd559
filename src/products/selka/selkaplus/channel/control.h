// Regulation of a selkaplus channel: TX channels park at no attenuation, and the ports have the
// names of the cross-connect.
#pragma once

#include "products/selka/channel/control.h"
#include "products/selka/selkaplus/channel/base.h"

namespace products::selka::selkaplus::channel {

template <class T>
class control : public selka::channel::control<T> {
 public:
  float get_default_attenuation() override;
  std::string get_wss_port_name() override;

 private:
  unsigned off_port_ = 100;  ///< the channel is on no port
};

}  // namespace products::selka::selkaplus::channel
