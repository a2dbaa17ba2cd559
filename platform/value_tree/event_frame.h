// The texts of events: time stamps, and the one line shared by all sessions that get the event.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "platform/value_tree/nx_session.h"
#include "platform/wire/json.h"

namespace nx {

/// "2026-01-31T12:00:00.123Z"
std::string event_time(std::chrono::system_clock::time_point time);

/// Frames the params of an event: "path", "time" and "value" or "error".
nx_event_ptr frame_event(const json_document& params);
/// The same for a value whose JSON text is at hand.
nx_event_ptr frame_value_event(std::string_view path, std::chrono::system_clock::time_point time,
                               std::string_view value);

/// Appends the same line for a path that is JSON already; `what` is "value" or "error".
void append_event(std::string& out, std::string_view path_text,
                  std::chrono::system_clock::time_point time, std::string_view what,
                  std::string_view text);

}  // namespace nx
