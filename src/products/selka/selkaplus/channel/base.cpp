#include "products/selka/selkaplus/channel/base.h"

#include "models/model.h"

namespace products::selka::selkaplus::channel {

std::string base::port_loss_key(const char* add_drop) {
  return models::port_loss_key(models::get("selkaplus"), add_drop, get_wss_port());
}

}  // namespace products::selka::selkaplus::channel
