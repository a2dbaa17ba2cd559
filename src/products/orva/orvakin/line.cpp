#include "products/orva/orvakin/line.h"

#include "helpers/logger.h"
#include "products/control_types_full.h"

namespace products::orva::orvakin {

template <class T>
line<T>::line(std::shared_ptr<::channel::plan<T>> channels,
              std::shared_ptr<::manager::remote::api> remote)
    : base(std::move(channels), std::move(remote)) {
  LUMORA_LOG(2, "Creating orva::orvakin::line instance.");
}

}  // namespace products::orva::orvakin

template class products::orva::orvakin::line<products::orva_control>;
