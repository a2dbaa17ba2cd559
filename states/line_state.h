// What the regulation of the line is doing, in one word, as published at `insight/line/state`.
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
  peer_not_known,        ///< the peer is a product that reports no powers
  peer_stands_still,     ///< its readings no longer change
  waiting_for_readings,  ///< fewer changed readings than a step requires
  not_steady,
  client_rx_turn,
  stepping,
  at_rest,
  exhausted,
  far_preamp_saturated,
  not_regulated,  ///< the model does not regulate its line
  device_failed,
};

/// Indexed by the state.
std::span<const state_row> line_states();
const state_row& row_of(line_state state);
/// Empty if the table has no such text.
std::optional<line_state> line_state_of(std::string_view text);

}  // namespace states
