#include "states/channel_state.h"

#include <array>

#include "states/state_table.h"

namespace states {

namespace {

using enum severity;

// In the order of the enumeration.
constexpr auto rows = std::to_array<state_row>({
    {"dark", quiet, colour::grey},
    {"blocked", quiet, colour::grey},
    {"unmanaged", quiet, colour::grey},
    {"on target", good, colour::green},
    {"resting off target", good, colour::green},
    {"waiting for its turn", working, colour::blue},
    {"stepping", working, colour::blue},
    {"waiting for the monitor", working, colour::blue},
    {"waiting for the switch", working, colour::blue},
    {"exhausted (too weak)", person, colour::red},
    {"exhausted (too strong)", person, colour::red},
    {"amplifier saturated", person, colour::yellow},
    {"reading unknown", working, colour::yellow},
    {"device failed", person, colour::red},
    {"loop down", person, colour::red},
});
static_assert(rows.size() == static_cast<unsigned>(channel_state::loop_down) + 1);

}  // namespace

std::span<const state_row> channel_states() {
  return rows;
}

const state_row& row_of(channel_state state) {
  return rows.at(static_cast<unsigned>(state));
}

std::optional<channel_state> channel_state_of(std::string_view text) {
  return state_of<channel_state>(rows, text);
}

}  // namespace states
