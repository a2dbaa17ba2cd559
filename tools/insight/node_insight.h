// What the daemon reports about itself under "insight/", as plain data: for the diagnosis, the
// lab's screen and its verdict. Nothing is calculated a second time here. Pure.
//
// Powers in dBm at the amplifier, differences, headroom and losses in dB, ages in seconds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "states/channel_state.h"
#include "states/line_state.h"
#include "tools/common/readings.h"
#include "tools/insight/channel_name.h"
#include "tools/insight/event_text.h"

namespace tools::insight {

using figure = std::optional<double>;

struct channel {
  channel_place place;
  bool is_rx = true;
  std::optional<states::channel_state> state;
  std::string state_text, why;
  figure target, measured, error, dead_band, headroom_up, headroom_down, age, steps_last_hour;
  figure attenuation;
  bool is_wanted = false;     ///< administratively up: darkness is a fault
  bool has_been_lit = false;  ///< since the daemon's start
};

struct line {
  std::optional<states::line_state> state;
  std::string state_text, why;
  figure headroom_up, headroom_down, steps_last_hour;
};

struct device {
  std::string name;
  std::optional<bool> alive;
  figure age;
  figure saturation;  ///< of an amplifier that is on: the gain it lacks
  std::vector<std::pair<std::string, std::string>> values;  ///< "gain", "20 dB"
};

struct rung {
  std::string point, basis;  ///< place, and basis of the expectation or why there is none
  std::string unit;          ///< "dBm", or "dB" for a fibre's loss
  figure expected, measured, difference;
  bool is_wrong = false;
  std::vector<unsigned> wrong_channels;  ///< IDs, if single ones are off
};

struct ladder {
  std::string side;   ///< "rx", "tx"
  std::string why;    ///< what is wrong on it; empty if nothing is
  std::string fault;  ///< of the wrong rung: "connector", "monitor"
  std::vector<rung> rungs;
};

/// Values that the peer has and cannot read.
struct peer_gap {
  std::string part;  ///< "preamp"
  std::string since, meanwhile;
  std::vector<std::string> values;  ///< paths on its tree
};

struct active_guard {
  std::string name, on, since, reason;
};

struct node_insight {
  std::string summary, product, automation_mode, peer;
  std::vector<peer_gap> peer_gaps;
  std::vector<std::string> start;  ///< what keeps the node from starting, or from starting properly
  std::string turn;                ///< of the last cycle: "client rx", "line"
  bool tells_of_itself = true;     ///< false until the daemon has built the node
  bool is_configured = true;       ///< management has said that the parameters are complete
  std::vector<channel> channels;   ///< in order of ascending frequency, rx before tx
  line of_line;
  std::vector<device> devices;
  std::vector<ladder> ladders;
  std::vector<active_guard> guards;
  std::vector<std::string> hunting;  ///< "192.30 rx", "line"
  bool far_preamp_at_limit = false;  ///< the line hunts because of it
  std::vector<event> events;         ///< oldest first
  std::optional<long> now;           ///< seconds since 1970; empty if durations are not to be given
};

/// What to read for it, each a pattern or path of the daemon's tree.
const std::vector<const char*>& insight_patterns();

node_insight insight_of(const readings& read, std::vector<event> events = {});

/// "No answer within 2 s: booster" instead of the whole path of its socket.
std::string without_folders(std::string text);

/// The places of all channels of either side.
std::vector<channel_place> places_of(const node_insight& node);

}  // namespace tools::insight
