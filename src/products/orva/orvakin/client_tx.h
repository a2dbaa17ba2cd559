// The client TX loop of orvakin: regulates towards the client ports as the RX loop does towards the
// line, with the preamp as its reference.
#pragma once

#include <memory>
#include <utility>

#include "models/model.h"
#include "products/orva/client_tx.h"

namespace products::orva::orvakin {

template <class T>
class client_tx : public orva::client_tx<T> {
 public:
  using base = orva::client_tx<T>;
  using closed_loop = ::manager::loops::client_loop<T>;  // what other client tx loops leave out
  using typename base::control_ptr;

  client_tx(typename base::plan_ptr plan, std::shared_ptr<::manager::remote::api> remote,
            const models::model& model)
      : base(std::move(plan), std::move(remote)), saturation_cap_(model.saturation_cap) {}

  void manage_channel(nx_db& db, control_ptr control, bool regulate) override;
  bool blocks_channels() const override { return true; }
  void manage_channel_peak(control_ptr control, bool regulate) override;
  float get_edfa_saturation() override;

 protected:
  void log_peak(const typename base::peak_report& report) override;

 private:
  float saturation_cap_;
};

}  // namespace products::orva::orvakin
