#include "tools/ctl/context.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "platform/nexel_client/line_client.h"
#include "tools/common/value_text.h"
#include "tools/ctl/pattern.h"

namespace tools::ctl {

nx::json_document context::ask(const std::string& method, const std::string& path,
                               const std::string& more) const {
  check_pattern(path);
  return tree.call(method, fmt::format("{{\"path\":{}{}}}", quoted(path), more), timeout);
}

}  // namespace tools::ctl
