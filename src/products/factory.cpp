#include "products/factory.h"

#include "products/control_types_full.h"
#include "products/orva/orvalite/manager.h"
#include "products/orva/orvamax/manager.h"

namespace products {

std::shared_ptr<manager::interface> create_manager(const std::string& product) {
  using orvalite_manager = orva::orvalite::manager<orva_control, orva_control>;
  using orvamax_manager = orva::orvamax::manager<orva_control, orva_control>;
  if (product == "orvalite") return std::make_shared<orvalite_manager>();
  if (product == "orvamax") return std::make_shared<orvamax_manager>();
  return nullptr;
}

}  // namespace products
