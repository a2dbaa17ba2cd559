#include "tools/lab/panel.h"

#include <fmt/format.h>

namespace tools::lab {

namespace {

std::vector<std::string> colours(const readings& read, const std::string& before,
                                 const std::string& after) {
  std::vector<std::string> found;
  for (const auto port : read.numbered(before, after))
    found.push_back(read.text(fmt::format("{}{}{}", before, port, after)).value_or("off"));
  return found;
}

panel_side side_of(const readings& read, const std::string& prefix, const char* side) {
  const auto after = fmt::format("/{}Led/status", side);
  return {read.text(prefix + "data/line/1" + after).value_or("off"),
          colours(read, prefix + "data/client/", after), colours(read, prefix + "data/xc/", after)};
}

}  // namespace

panel panel_of(const readings& read, const std::string& prefix) {
  return {side_of(read, prefix, "rx"), side_of(read, prefix, "tx")};
}

}  // namespace tools::lab
