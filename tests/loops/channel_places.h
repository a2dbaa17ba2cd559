// The parts of a node that have a channel added by command, one letter each: s switch, m monitor, p
// plan in the store; the add side before the bar, the drop side after it.
#pragma once

#include <fmt/format.h>

#include <string>

#include "platform/kvs_client/kvs_client.h"
#include "tests/support/plant_node.h"

namespace test {

inline std::string stored_plan(const std::string& direction) {
  return kvs_memory::get("{conf}:qz/lumora:channel/plan/" + direction);
}

inline std::string places_of(plant_node& node, unsigned centre) {
  const auto has = [&](const char* nexel, const std::string& path) {
    return node.plant().nexel_tree(nexel).find(path) != nullptr;
  };
  const auto side = [&](const char* word, unsigned port, const std::string& direction) {
    std::string places;
    if (has("wss", fmt::format("data/module/{}/channel/{}/attenuation", word, centre)))
      places += 's';
    if (has("ocm", fmt::format("data/port/{}/channel/{}/power", port, centre))) places += 'm';
    const auto entry = fmt::format("\"center_frequency\":{}", centre);
    if (stored_plan(direction).find(entry) != std::string::npos) places += 'p';
    return places;
  };
  return side("add", 0, "rx") + "|" + side("drop", 1, "tx");
}

}  // namespace test
