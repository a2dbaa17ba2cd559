// The texts of events: time stamps, and the one line that all sessions of an event share.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/value_tree/nx_session.h"
#include "platform/wire/json.h"

namespace nx {

/// "2026-01-31T12:00:00.123Z"
std::string event_time(std::chrono::system_clock::time_point time);

struct framed_event {
  std::shared_ptr<const nx_event> event;
  std::string value;  ///< text of the member "value", empty for an error event
};

/// Frames the params of an event: "path", "time" and "value" or "error".
framed_event frame_event(const json_document& params);

}  // namespace nx
