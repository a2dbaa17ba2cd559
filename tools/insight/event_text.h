// The events of insight/log for people: one line each, channels in THz, repetitions folded into
// one. Pure.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/insight/channel_name.h"

namespace tools::insight {

struct event {
  std::string time;                            ///< "2026-01-31T12:00:00.123Z"
  std::string kind;                            ///< "lit", "guardBegan"
  std::string on;                              ///< "client rx 19140000", "line", "booster", a path
  std::map<std::string, std::string> details;  ///< figures and words by name
  std::string json;                            ///< as received
};

/// From an event's JSON text; empty if it is not one.
std::optional<event> event_of(const std::string& json);

/// "192.30 rx" for "client rx 19230000"; anything else as it is.
std::string subject_text(const std::string& on, const std::vector<channel_place>& known);

/// "2026-01-31 12:00:00  192.30 rx    arrived after 3.1 s in 2 steps". Events close in time that
/// say the same about other channels share a line ("30 channels rx"), and one that repeats gets a
/// count.
std::vector<std::string> event_lines(const std::vector<event>& events,
                                     const std::vector<channel_place>& known);

/// Seconds since 1970; empty if it is not such a time. Fractions are dropped.
std::optional<long> seconds_of(const std::string& time);

}  // namespace tools::insight
