// A simulated peer's values of its line: the path of each in the families that have it, and how it
// follows from the instruments at both ends. Powers in dBm at the line connector.
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
  const char* terminal_path;  ///< on orva and selka; null if they do not have it
  const char* in_line_path;   ///< on tarn
  bool orva_alone;            ///< not on selka
  double (*read)(const peer_view&);
};

const std::vector<peer_value>& peer_line_values();

/// The offset from a reading of the preamp's monitor to the amplifier's output, dB.
double preamp_calibration_db(const node& of);

}  // namespace sim
