// The client RX loop of orvakin: as every model's, but a saturated booster lowers the targets by up
// to the model's own cap.
#pragma once

#include <memory>
#include <utility>

#include "base/manager/loops/client_rx.h"
#include "models/model.h"

namespace products::orva::orvakin {

template <class T>
class client_rx : public ::manager::loops::client_rx<T> {
 public:
  using base = ::manager::loops::client_rx<T>;

  client_rx(typename base::plan_ptr plan, std::shared_ptr<::manager::remote::api> remote,
            const models::model& model)
      : base(std::move(plan), std::move(remote)), saturation_cap_(model.saturation_cap) {}

  float get_edfa_saturation() override;

 private:
  float saturation_cap_;
};

}  // namespace products::orva::orvakin
