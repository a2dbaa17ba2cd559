// Reports writes of parameters to a single receiver in the process, the node's event log. The
// receiver is called after the setter has accepted the value, on the writing thread, with the
// node's own mutex held: it must not take a lock under which a parameter is read or written.
#pragma once

#include <functional>
#include <string>

namespace nx::api {

/// Path and JSON text of the value.
using parameter_receiver = std::function<void(const std::string& path, const std::string& value)>;

/// Replaces the receiver; an empty one removes it.
void watch_parameters(parameter_receiver receiver);
/// For the nodes; costs one look at a pointer while nobody watches.
bool parameters_are_watched();
void tell_parameter(const std::string& path, const std::string& value);

}  // namespace nx::api
