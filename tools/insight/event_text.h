// The events of insight/log as a person reads them: one line each, channels by THz, what repeats
// folded into one. Pure.
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
  std::string json;                            ///< as it was told
};

/// Of the JSON text of one; empty when it is none.
std::optional<event> event_of(const std::string& json);

/// "192.30 rx" for "client rx 19230000"; anything else as it is.
std::string subject_text(const std::string& on, const std::vector<channel_place>& known);

/// "2026-01-31 12:00:00  192.30 rx    arrived after 3.1 s in 2 steps". Neighbours in time that say
/// the same of other channels share a line ("30 channels rx"), and one that repeats a count.
std::vector<std::string> event_lines(const std::vector<event>& events,
                                     const std::vector<channel_place>& known);

/// Seconds since 1970 of such a time; empty when it is none. Fractions are left off.
std::optional<long> seconds_of(const std::string& time);

}  // namespace tools::insight
