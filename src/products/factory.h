// The one place where a product is chosen.
#pragma once

#include <memory>
#include <string>

#include "base/manager/interface.h"

namespace products {

/// Null for an unknown product. The name is compared exactly. An orva model without its own class
/// gets the family's.
std::shared_ptr<manager::interface> create_manager(const std::string& product);

}  // namespace products
