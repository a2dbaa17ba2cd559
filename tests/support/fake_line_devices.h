// The line's amplifiers and its attenuator, by hand: a test sets what they read, and a journal
// records what is done to them.
#pragma once

#include <fmt/format.h>

#include <atomic>
#include <string>
#include <vector>

#include "device/interfaces/edfa.h"
#include "device/interfaces/voa.h"
#include "tests/support/fake_device.h"

namespace test {

using journal = std::vector<std::string>;

class fake_edfa : public fake_device<device::interfaces::edfa> {
 public:
  fake_edfa(journal& actions, const char* name) : actions_(actions), name_(name) {}

  bool enabled = true;
  bool los = false;
  float rx_power = -10;
  float tx_power = 18;
  float power_limit = 20;
  float gain = 20;
  float default_gain = 15;

  void enable() override { set_enabled(true); }
  void disable() override { set_enabled(false); }
  bool is_enabled() override { return read("enabled", enabled); }
  float get_rx_power() override { return read("rx power", rx_power); }
  float get_tx_power() override { return read("tx power", tx_power); }
  float get_power_limit() override { return read("limit", power_limit); }
  float get_gain() override { return read("gain", gain); }
  void set_gain(float value) override {
    access("gain");
    actions_.push_back(fmt::format("{} gain {:.2f}", name_, gain = value));
  }
  float get_min_gain() override { return 0; }
  float get_max_gain() override { return 30; }
  float get_default_gain() override { return read("default gain", default_gain); }
  float get_saturation() override { return 0; }
  bool has_los() override { return read("los", los); }

 private:
  void set_enabled(bool on) {
    access("enable");
    enabled = on;
    actions_.push_back(std::string(name_) + (on ? " on" : " off"));
  }

  journal& actions_;
  const char* name_;
};

class fake_voa : public fake_device<device::interfaces::voa> {
 public:
  explicit fake_voa(journal& actions) : actions_(actions) {}

  std::atomic<float> attenuation{10.0f};  // read by pollers
  float insertion_loss = 1;
  bool takes_writes = true;  ///< else they are lost

  void set_attenuation(float value) override {
    access("attenuation");
    actions_.push_back(fmt::format("voa {:.2f}", value));
    if (takes_writes) attenuation = value;
  }
  float get_attenuation() override { return read("attenuation", attenuation.load()); }
  float get_min_attenuation() override { return 0; }
  float get_max_attenuation() override { return 25; }
  float get_insertion_loss() override { return read("insertion loss", insertion_loss); }

 private:
  journal& actions_;
};

}  // namespace test
