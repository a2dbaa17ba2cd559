// One half of a wavelength selective switch: an attenuation and an open or blocked port for each
// slot. Attenuations have steps, are slightly inaccurate, and take time; the read-out shows the new
// one when it is reached.
#pragma once

#include <span>
#include <vector>

#include "sim/optics/light.h"
#include "sim/plant.h"
#include "sim/plant/noise.h"

namespace sim {

class wave_switch {
 public:
  wave_switch(const switch_settings& settings, std::size_t slots, noise_source noise);

  void step(double dt_s);
  /// From client port to slot, dB: insertion loss, attenuation, and blocking if blocked.
  std::span<const double> loss_db() const { return loss_db_; }

  /// Throws nx_error -22 outside the switch's range.
  void set_attenuation(std::size_t slot, double attenuation_db);
  /// At once and without steps or errors: for the built-in far end.
  void set_exactly(std::size_t slot, double attenuation_db);
  void set_blocked(std::size_t slot, bool blocked);
  /// A slot without a channel blocks all light. Orva's channels are always there.
  void set_configured(std::size_t slot, bool configured);
  /// Loss of the slot's port that the switch does not know about.
  void set_port_loss(std::size_t slot, double loss_db);

  const switch_settings& settings() const { return settings_; }
  double shown_attenuation_db(std::size_t slot) const { return channels_[slot].shown_db; }
  double true_attenuation_db(std::size_t slot) const { return channels_[slot].actual_db; }
  bool blocked(std::size_t slot) const { return channels_[slot].blocked; }
  write_counters counters(std::size_t slot) const { return channels_[slot].writes; }
  write_counters all_counters() const;
  void reset_counters();

 private:
  struct channel {
    double set_db = 0.0;
    double goal_db = 0.0;  ///< the attenuation in effect, with the error of this setting
    double actual_db = 0.0;
    double shown_db = 0.0;
    double settling_s = 0.0;  ///< left
    double port_loss_db = 0.0;
    bool blocked = false;
    bool configured = true;
    write_counters writes;
  };
  void update_loss(std::size_t slot);
  void start_settling(channel& moved);

  switch_settings settings_;
  noise_source noise_;
  std::vector<channel> channels_;
  std::vector<double> loss_db_;
  unsigned unsettled_ = 0;
};

}  // namespace sim
