#include "products/orva/orvapro/dispersion.h"

#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace products::orva::orvapro {

dcm_path path_for(float fiber_length) {
  constexpr float shortest_with_dcm = 40.0f;
  return fiber_length > shortest_with_dcm ? dcm_path::with_fixed_dcm : dcm_path::without_fixed_dcm;
}

float automatic_target(dcm_path path, float fixed_dcm_dispersion, float fiber_dispersion) {
  if (path == dcm_path::without_fixed_dcm) return -fiber_dispersion;
  return -fixed_dcm_dispersion - fiber_dispersion;
}

dispersion_settings read_dispersion_settings(const nx::json_value& settings) {
  if (!settings.IsObject()) {
    throw nx_error(nx_error::invalid,
                   "Dispersion settings are not an object with mode and dispersion");
  }
  const auto* dispersion = nx::member_of(settings, "dispersion");
  if (!dispersion || !dispersion->IsNumber()) {
    throw nx_error(nx_error::invalid, "Dispersion value is not a number");
  }
  const auto* mode = nx::member_of(settings, "mode");
  if (!mode || !mode->IsString()) {
    throw nx_error(nx_error::invalid, "Dispersion mode is not a string");
  }
  dispersion_settings result;
  result.mode = nx::text_member(settings, "mode");
  result.automatic = !result.mode.starts_with("manual");
  result.dispersion = static_cast<float>(dispersion->GetDouble());
  return result;
}

nx::json_document dispersion_settings_document(bool automatic, float dispersion) {
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  document.AddMember("mode", rapidjson::StringRef(automatic ? "auto G.652" : "manual"), allocator);
  document.AddMember("dispersion", dispersion, allocator);
  return document;
}

}  // namespace products::orva::orvapro
