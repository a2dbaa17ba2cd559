// The params of requests as text, written while the data they are made from is at hand.
#pragma once

#include <string>

#include "platform/nexel_client/nexel_request.h"

namespace nx {

/// {"path":PATH}
std::string params_text(const std::string& path);

/// The path and what the object adds to it. Throws nx_error -22 for a number that is not finite or
/// a text longer than a line may be.
std::string params_text(const nexel_object& object);

}  // namespace nx
