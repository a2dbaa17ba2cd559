#include "tools/ctl/pattern.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"

namespace tools::ctl {

namespace {

/// The pattern that the user may have meant: "*" for segments that contain one.
std::string widened(const std::string& path) {
  auto segments = segments_of(path);
  for (auto& segment : segments) {
    const bool rest = segment == "**" && &segment == &segments.back();
    if (segment.find('*') != segment.npos && !rest) segment = "*";
  }
  return fmt::format("{}", fmt::join(segments, "/"));
}

}  // namespace

void check_pattern(const std::string& path) {
  const auto wide = widened(path);
  if (wide == path) return;
  const bool deep = path.find("**/") != path.npos;
  const auto* rule = deep ? "** stands at the end alone" : "* stands for one whole segment";
  throw usage_error(
      fmt::format("{}: {}; to choose among more, lumoractl get '{}' | grep ...", path, rule, wide));
}

}  // namespace tools::ctl
