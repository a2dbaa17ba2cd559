// The node in one line for a person: losses come first, with the time since when, what the daemon
// is doing about it and what a person can do; then the channels, the line, the peer. Also the
// stability of its loops, for "insight/rest". Pure functions on copies, called when somebody reads.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/insight/actuator_record.h"
#include "base/insight/channel_verdict.h"
#include "base/insight/line_verdict.h"
#include "platform/wire/json.h"

namespace insight {

struct known_channel {
  unsigned id = 0;
  unsigned frequency = 0;
  bool is_rx = true;
  channel_verdict verdict;
  actuator_record actuator;
};

/// A loop that is down, and why.
struct loop_fault {
  std::string loop;
  std::string reason;
  std::chrono::system_clock::time_point since;
};

struct node_facts {
  std::vector<known_channel> channels;
  std::vector<loop_fault> faults;
  line_verdict line;
  actuator_record voa;
  bool has_given_way = false;  ///< to the far preamp, not long ago
  std::string peer;            ///< product text; empty if there is none
  bool is_regulating = true;
  time_point now{};
  std::chrono::system_clock::time_point wall_clock{};
};

/// "30 of 32 lit channels on target; 191.70 exhausted (2.7 dB short), 192.45 settling; line at
/// rest; peer ORVA-LITE".
std::string summary_of(const node_facts& node);

/// {"client rx": {"up", "stepsLastHour", "reversalsLastHour", "hunts", "hunting": [channels],
/// "worst": {"channel", "steps", "reversals"} or null}, "client tx", "line": {"up",
/// "stepsLastHour", "reversalsLastHour", "hunts", "because"}}. A loop that is up runs through its
/// cycles.
nx::json_document rest_of(const node_facts& node);

}  // namespace insight
