#include "products/selka/selkaplus/channel/base.h"

#include <fmt/format.h>

namespace products::selka::selkaplus::channel {

std::string base::port_loss_key(const char* add_drop) {
  return fmt::format("cal_{}_{}_wss", add_drop, get_wss_port());
}

}  // namespace products::selka::selkaplus::channel
