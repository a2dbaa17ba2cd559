// The keys of the lab's screen, from the bytes that a terminal sends for them. Pure.
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

/// Takes the first key off `typed`, which holds at least one byte; several may come at once over a
/// slow link.
key take_key(std::string& typed);

}  // namespace tools::lab
