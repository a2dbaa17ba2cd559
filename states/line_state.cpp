#include "states/line_state.h"

#include <array>

#include "states/state_table.h"

namespace states {

namespace {

using enum severity;

// In the order of the enumeration.
constexpr auto rows = std::to_array<state_row>({
    {"no fibre", person, colour::red},
    {"no supervisory link", person, colour::red},
    {"no peer", person, colour::yellow},
    {"peer not known", person, colour::yellow},
    {"peer's readings stand still", person, colour::red},
    {"waiting for readings", working, colour::blue},
    {"not steady", working, colour::blue},
    {"client rx has the turn", working, colour::blue},
    {"stepping", working, colour::blue},
    {"at rest", good, colour::green},
    {"exhausted", person, colour::red},
    {"far preamp saturated", person, colour::yellow},
    {"not regulated on this model", quiet, colour::grey},
    {"device failed", person, colour::red},
});
static_assert(rows.size() == static_cast<unsigned>(line_state::device_failed) + 1);

}  // namespace

std::span<const state_row> line_states() {
  return rows;
}

const state_row& row_of(line_state state) {
  return rows.at(static_cast<unsigned>(state));
}

std::optional<line_state> line_state_of(std::string_view text) {
  return state_of<line_state>(rows, text);
}

}  // namespace states
