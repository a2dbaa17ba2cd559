// The products that can be at the far end, by the text of their "data/product".
#pragma once

#include <memory>
#include <string>

#include "base/manager/remote/device/interface.h"

namespace manager::remote {

bool is_listed(const std::string& product);

/// The adapter of a product; that of an unlisted text knows nothing and never fails.
std::shared_ptr<device::interface> create_adapter(const std::string& product);

}  // namespace manager::remote
