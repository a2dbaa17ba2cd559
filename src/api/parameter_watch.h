// Who wants to know that a parameter was written: one receiver in the process, the node's log of
// events. Called after the setter has accepted the value, on the thread that wrote it, with the
// node's own mutex held: the receiver takes no lock under which a parameter is read or written.
#pragma once

#include <functional>
#include <string>

namespace nx::api {

/// Path and JSON text of the value.
using parameter_receiver = std::function<void(const std::string& path, const std::string& value)>;

/// Replaces the receiver; an empty one takes it off.
void watch_parameters(parameter_receiver receiver);
/// Of the nodes; costs a look at a pointer while nobody watches.
bool parameters_are_watched();
void tell_parameter(const std::string& path, const std::string& value);

}  // namespace nx::api
