// The params of requests as text, written while what they are made of is at hand.
#pragma once

#include <string>

#include "platform/nexel_client/nexel_request.h"

namespace nx {

/// {"path":PATH}
std::string params_text(const std::string& path);

/// The path and what the object adds to it. Throws nx_error -22 on a number that is not finite and
/// on a text beyond the limit of a line.
std::string params_text(const nexel_object& object);

}  // namespace nx
