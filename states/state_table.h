// Lookup in a table of states, indexed by its enumeration.
#pragma once

#include <algorithm>
#include <optional>
#include <span>
#include <string_view>

#include "states/state_row.h"

namespace states {

template <class State>
std::optional<State> state_of(std::span<const state_row> table, std::string_view text) {
  const auto found = std::ranges::find(table, text, &state_row::text);
  if (found == table.end()) return std::nullopt;
  return static_cast<State>(found - table.begin());
}

}  // namespace states
