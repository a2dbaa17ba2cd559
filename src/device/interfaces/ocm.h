// An optical channel monitor: how much light there is in each channel. Powers and levels in dBm,
// channels by id, centre and width in units of 10 MHz. Channel readings need the channel to be
// subscribed to. An operation that a device does not have throws nx_error -22 "Not implemented"; a
// refused channel command throws nx_error -5.
#pragma once

#include <string>

#include "device/interface.h"

namespace device::interfaces {

/// Virtual base: an orva module is switch and monitor in one object.
class ocm : public virtual device::interface {
 public:
  virtual float get_total_power() = 0;
  virtual float get_channel_power(unsigned channel) = 0;
  /// As get_channel_power, with its age; if the proxy reads the device at each call, the age is
  /// zero.
  virtual reading<float> get_channel_power_reading(unsigned channel) {
    return reading_of_now(get_channel_power(channel));
  }
  virtual bool is_channel_detected(unsigned channel) = 0;
  virtual float get_channel_detect_level(unsigned channel) = 0;
  virtual void set_channel_detect_level(float level) = 0;
  virtual void add_channel(unsigned center, unsigned width) = 0;
  virtual void remove_channel(unsigned center) = 0;
  /// The plan as the text of a JSON array.
  virtual void create_channel_plan(const std::string& json) = 0;
  virtual void remove_all_channels() = 0;
  virtual bool is_channel_plan_loaded() = 0;
};

}  // namespace device::interfaces
