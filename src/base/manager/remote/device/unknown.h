// Used for no peer, or for a product that this node does not know: zero and "n/a" for everything,
// never a failure.
#pragma once

#include "base/manager/remote/device/interface.h"

namespace manager::remote::device {

class unknown : public interface {
 public:
  unknown() : interface({.starting = "No remote subscription against unknown device."}) {}
};

}  // namespace manager::remote::device
