// The line of the selka family: the line VOA belongs to the client RX loop; the line's job is the
// preamp's gain, from the measured span loss ("managedCLI") or from the loss given by the
// management software ("managedNetconf").
#pragma once

#include "base/manager/loops/line.h"

namespace products::selka {

/// Gain that compensates the span, the VOA and the path into the preamp, within its limits; dB.
float preamp_gain(float span_loss, float line_calibration, float voa_insertion_loss, float minimum,
                  float maximum);

struct gain_setting {
  float present;
  float wanted;
  /// Too close for a write to be worthwhile.
  bool is_close() const;
};

template <class T>
class line : public ::manager::loops::line<T> {
 public:
  using base = ::manager::loops::line<T>;
  using base::base;

  void manage_line(nx_db& db, bool regulate) override;
  float get_wanted_power() override;
  void set_voa_default_attenuation() override {}
  void setup_api(nx_db& db) override;

  /// Writes the gain if it is more than 0.1 dB off; span loss in dB. Device failures are thrown.
  void set_preamp_gain(float span_loss);
  /// On a server thread.
  void set_span_loss_receive(float span_loss);

 private:
  void follow_measured_span();
  void follow_span(float span_loss);
  gain_setting read_gain(float span_loss);
  void write_gain(const gain_setting& gain);
};

}  // namespace products::selka
