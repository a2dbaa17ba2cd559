// The automation mode on the tree, for models that have one: the parameter and the mode in force.
#pragma once

#include <memory>
#include <optional>

#include "api/config_param.h"
#include "api/hysteresis_filtered_value.h"
#include "platform/value_tree/value_group.h"

namespace products {

template <class Manager>
void publish_automation_mode(nx_db& db, nx::api::value_group& values,
                             const std::shared_ptr<Manager>& manager) {
  values.add_value(nx::api::prompt_param<&Manager::set_automation_mode>::create(
                       db, "config/automationMode", std::nullopt, manager),
                   0);
  values.add_value(nx::api::polled_value<&Manager::get_automation_mode>::create(
                       db, "data/automationMode", manager),
                   3);
}

}  // namespace products
