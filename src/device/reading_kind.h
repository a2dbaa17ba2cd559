// The range of numbers that a device can report: one table of kinds, with the range of an
// instrument of each kind. The subscriptions of our own devices and of the peer judge each number
// on arrival: one outside its range is refused like a value of another type, and no write is based
// on it.
//
// Pure functions on any thread; they throw nothing.
#pragma once

#include <string>

namespace device {

enum class reading_kind {
  any_number,         ///< nothing is known except that it is finite
  channel_power,      ///< a channel monitor's, of one channel
  total_power,        ///< a channel monitor's, of all channels
  tap_power,          ///< of an amplifier's input or output, a port or a line
  osc_power,          ///< of a supervisory channel's optics
  detection_level,    ///< below which a monitor sees no channel
  attenuation,        ///< of a switch's channel or a VOA
  gain,               ///< of an amplifier, wanted or actual
  power_limit,        ///< of an amplifier's output
  saturation,         ///< gain that an amplifier lacks
  osc_loss,           ///< of a span, as the supervisory channel sees it; 0 at least
  span_loss,          ///< as an in-line amplifier measures it
  loss_per_length,    ///< of a fibre
  insertion_loss,     ///< of a part that light passes
  fibre_length,       ///< as a supervisory channel measures it
  dispersion,         ///< of a fibre, of a compensator's setting, or the remainder of both
  dispersion_offset,  ///< by which an operator shifts a compensator
  osnr,               ///< of a channel
  utilization,        ///< of the band
  calibration,        ///< between the readings of two instruments
  target_power,       ///< wanted power of a channel
  count
};

struct number_range {
  float lowest;
  float highest;
  /// False for NaN, too.
  bool holds(float number) const { return number >= lowest && number <= highest; }
};

struct reading_limits {
  const char* name;
  const char* unit;
  number_range measured;
  /// What such instruments show when there is nothing to measure: shown on the tree as it is, but
  /// not a reading. For a kind without this, the range is empty (lowest above highest).
  number_range nothing;
  const char* reason;
};

const reading_limits& limits_of(reading_kind kind);

enum class verdict {
  measured,
  nothing_measured,  ///< dark, blocked, no module: legal, but not a measurement
  refused            ///< no instrument of this kind can report this
};

verdict judge(reading_kind kind, float number);

/// "999 dBm is no channel power (-70 to 30 dBm)".
std::string refusal_text(reading_kind kind, float number);

}  // namespace device
