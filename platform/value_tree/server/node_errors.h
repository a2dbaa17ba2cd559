// The exceptions of nodes, as reported to clients.
#pragma once

#include "platform/wire/nx_error.h"

namespace nx {

/// Call inside a catch block. An nx_error is reported as it is, a failed conversion as -22
/// "expected float, found string", anything else as -1.
nx_error current_node_error();

}  // namespace nx
