// A channel of the orva family: knows its optical signal-to-noise ratio here and at the far node.
#pragma once

#include <atomic>

#include "base/channel/base.h"

namespace products::orva::channel {

class base : public ::channel::base {
 public:
  // dB in 12.5 GHz; written by the client TX loop, read by polled values without the plan's mutex.
  float get_osnr() { return osnr_; }
  float get_remote_osnr() { return remote_osnr_; }
  void set_osnr(float osnr) { osnr_ = osnr; }
  void set_remote_osnr(float osnr) { remote_osnr_ = osnr; }

 private:
  std::atomic<float> osnr_{0.0f};
  std::atomic<float> remote_osnr_{0.0f};
};

}  // namespace products::orva::channel
