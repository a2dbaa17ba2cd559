// Which of a node's events have not ended yet. Pure; for the diagnosis.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "tools/insight/node_insight.h"

namespace tools::insight {

/// The newest event of a kind on a subject that none of `ends` has followed; null if there is
/// none. An empty subject means any.
const event* open_event(const node_insight& node, const std::string& on,
                        std::initializer_list<std::string_view> begins,
                        std::initializer_list<std::string_view> ends);

/// Empty without an event.
std::string time_of(const event* what);
/// Empty if the event does not have it; devices by their names, without their folders.
std::string detail(const event& what, const char* name);

}  // namespace tools::insight
