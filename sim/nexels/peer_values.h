// What a simulated peer tells of its line: each value's path in the families that have it, and how
// it follows from the instruments at both ends. Powers are dBm at the line connector.
#pragma once

#include <vector>

#include "sim/plant/line_system.h"

namespace sim {

/// The peer is node 1, its neighbour node 0; fibre 0 comes in, fibre 1 goes out.
struct peer_view {
  const node& here;
  const node& neighbour;
};

struct peer_value {
  const char* terminal_path;  ///< of orva and selka; null where they do not tell it
  const char* in_line_path;   ///< of tarn
  bool orva_alone;            ///< not on selka
  double (*read)(const peer_view&);
};

const std::vector<peer_value>& peer_line_values();

/// What brings a reading of the preamp's monitor to the amplifier's output, dB.
double preamp_calibration_db(const node& of);

}  // namespace sim
