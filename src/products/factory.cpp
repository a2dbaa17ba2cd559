#include "products/factory.h"

#include <utility>

#include "models/model.h"
#include "products/control_types_full.h"
#include "products/orva/orvakin/orvakinet/manager.h"
#include "products/orva/orvalite/manager.h"
#include "products/orva/orvamax/manager.h"
#include "products/orva/orvapro/manager.h"
#include "products/selka/manager.h"

namespace products {

namespace {

template <template <class, class> class Manager, class Control>
std::shared_ptr<manager::interface> make() {
  return std::make_shared<Manager<Control, Control>>();
}

using maker = std::shared_ptr<manager::interface> (*)();

/// Models that have a class of their own.
constexpr std::pair<const char*, maker> own_classes[] = {
    {"orvalite", make<orva::orvalite::manager, orva_control>},
    {"selkamin", make<selka::manager, selka_control>},
    {"selkaplus", make<selka::selkaplus::manager, selkaplus_control>},
    {"orvakinet", make<orva::orvakin::orvakinet::manager, orva_control>},
    {"orvamax", make<orva::orvamax::manager, orva_control>},
    {"orvapro", make<orva::orvapro::manager, orva_control>},
};

}  // namespace

std::shared_ptr<manager::interface> create_manager(const std::string& product) {
  for (const auto& [name, make_own] : own_classes) {
    if (product == name) return make_own();
  }
  const auto* model = models::find(product);
  if (!model || model->kin != models::family::orva) return nullptr;
  return std::make_shared<orva::manager<orva_control, orva_control>>(*model);
}

}  // namespace products
