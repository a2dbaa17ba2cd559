// The keys of the lab's screen, decoded from the bytes that a terminal sends. Pure.
#pragma once

#include <string>

namespace tools::lab {

enum class key {
  unknown,
  quit,
  up,
  down,
  page_up,
  page_down,
  home,
  end,
  next_node,
  channels,
  ladder,
  devices,
  panel,
  events
};

/// Removes the first key from `typed`, which holds at least one byte; several may arrive at once
/// over a slow link.
key take_key(std::string& typed);

}  // namespace tools::lab
