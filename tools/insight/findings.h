// What is wrong with a node, causes before their consequences: the output of `lumoractl explain`,
// and the top of the lab's screen. Pure: insight in, sentences out.
//
// The order of `cause` is the ranking. A cause comes before everything it brings about: a silent
// device before its loop, a cut fibre before the peer that cannot be read through it.
#pragma once

#include <string>
#include <vector>

#include "tools/insight/node_insight.h"

namespace tools::insight {

enum class cause {
  start_failed,
  not_configured,
  regulation_stopped,  ///< by the operator's mode
  device_silent,
  fibre_cut,
  link_down,
  peer_lost,
  peer_unreadable,  ///< a part of it
  peer_stands_still,
  line_device,
  calibration,
  light_path,  ///< a rung of a ladder
  far_preamp_saturated,
  amplifier_saturated,
  channel_dark,
  channel_exhausted,
  line_exhausted,
  channel_unreadable,
  loop_down,
  hunting,
  peer_unknown,
  no_peer,
  guard,
  under_way
};

/// The name of a cause in JSON: "fibreCut".
const char* name_of(cause of);

struct finding {
  cause of;
  std::string on;        ///< "line", "booster", "192.30 rx", "30 channels rx"
  std::string sentence;  ///< what is wrong, with figures
  std::string doing;     ///< what the node is doing about it; may be empty
  std::string remedy;    ///< what a person can do; empty if there is nothing to do
  std::string since;     ///< time of the event that began it; empty if unknown

  /// Lasts until somebody does something.
  bool needs_person() const { return of != cause::under_way && of != cause::guard; }
};

/// In reading order.
std::vector<finding> findings_of(const node_insight& node);

/// "The fibre is cut or unplugged (since 12:03:10 UTC, 14 s): no light comes in."
std::string full_sentence(const finding& what, const node_insight& node);

bool needs_person(const std::vector<finding>& findings);

}  // namespace tools::insight
