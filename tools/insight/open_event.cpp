#include "tools/insight/open_event.h"

#include <algorithm>

namespace tools::insight {

const event* open_event(const node_insight& node, const std::string& on,
                        std::initializer_list<std::string_view> begins,
                        std::initializer_list<std::string_view> ends) {
  const event* open = nullptr;
  for (const auto& each : node.events) {
    if (!on.empty() && each.on != on) continue;
    if (std::find(begins.begin(), begins.end(), each.kind) != begins.end()) open = &each;
    if (std::find(ends.begin(), ends.end(), each.kind) != ends.end()) open = nullptr;
  }
  return open;
}

std::string time_of(const event* what) {
  return what == nullptr ? "" : what->time;
}

std::string detail(const event& what, const char* name) {
  const auto found = what.details.find(name);
  return found == what.details.end() ? "" : without_folders(found->second);
}

}  // namespace tools::insight
