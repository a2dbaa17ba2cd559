// In-line amplifiers as peers: they have no channels and no client side, but measure the spans for
// this node.
#pragma once

#include "base/manager/remote/device/interface.h"

namespace manager::remote::device::tarn {

class tarn_common : public interface {
 protected:
  tarn_common()
      : interface({.column = family::tarn,
                   .starting = "Starting remote subscription against TARN products.",
                   .is_embedded_ila = true}) {}
};

class tarnone : public tarn_common {};
class tarntwo : public tarn_common {};

}  // namespace manager::remote::device::tarn
