// What the regulation of the line is doing, in one word: what `insight/line/state` tells.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "states/state_row.h"

namespace states {

enum class line_state : unsigned char {
  no_fibre,  ///< no light comes from the other end
  no_supervisory_link,
  no_peer,
  peer_not_known,        ///< somebody answers, of a product that tells no powers
  peer_stands_still,     ///< its readings do not change any more
  waiting_for_readings,  ///< fewer changed readings than a step needs
  not_steady,
  client_rx_turn,
  stepping,
  at_rest,
  exhausted,
  far_preamp_saturated,
  not_regulated,  ///< a model that regulates no line
  device_failed,
};

/// Indexed by the state.
std::span<const state_row> line_states();
const state_row& row_of(line_state state);
/// Empty for a text that is none of the table's.
std::optional<line_state> line_state_of(std::string_view text);

}  // namespace states
