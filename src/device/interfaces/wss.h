// A wavelength selective switch: attenuates, blocks and routes single channels. Attenuation in dB,
// channels by id, centre and width in units of 10 MHz. An operation that a device does not have
// throws nx_error -22 "Not implemented"; a refused channel command throws nx_error -5.
#pragma once

#include <string>

#include "device/interface.h"

namespace device::interfaces {

/// Virtual base: an orva module is switch and monitor in one object.
class wss : public virtual device::interface {
 public:
  virtual void set_attenuation(unsigned channel, float value) = 0;
  virtual float get_attenuation(unsigned channel) = 0;
  /// As get_attenuation, with its age; if the proxy reads the device at each call, the age is zero.
  virtual reading<float> get_attenuation_reading(unsigned channel) {
    return reading_of_now(get_attenuation(channel));
  }
  virtual void block_channel(unsigned channel) = 0;
  virtual void unblock_channel(unsigned channel, float value) = 0;
  virtual bool is_channel_blocked(unsigned channel) = 0;
  virtual float get_min_attenuation() = 0;
  virtual float get_max_attenuation() = 0;
  virtual unsigned get_channel_port(unsigned channel) = 0;
  virtual void add_channel(unsigned center, unsigned width, unsigned port,
                           const std::string& version) = 0;
  virtual void remove_channel(unsigned center) = 0;
  /// The plan as the text of a JSON array.
  virtual void create_channel_plan(const std::string& json) = 0;
  virtual void remove_all_channels() = 0;
  virtual bool is_channel_plan_loaded() = 0;
};

}  // namespace device::interfaces
