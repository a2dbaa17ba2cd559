// The states of channels and line as a module for the page, so that it shows them as the daemon's
// other clients do. Pure.
#pragma once

#include <string>

namespace gateway {

/// The page imports it under this name, beside its own files.
constexpr const char* state_module_path = "/state_table.js";

/// `export const channel = {"dark":["quiet","grey"],...};`, and `line`: the severity and the colour
/// of each state.
std::string state_module();

}  // namespace gateway
