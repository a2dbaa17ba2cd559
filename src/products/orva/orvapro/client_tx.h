// The client TX loop of orvapro: the pass band of the dispersion compensator decides how much noise
// counts for the OSNR.
#pragma once

#include "device/interfaces/tdcm.h"
#include "products/orva/client_tx.h"

namespace products::orva::orvapro {

template <class T>
class client_tx : public orva::client_tx<T> {
 public:
  using base = orva::client_tx<T>;
  using base::base;
  using typename base::control_ptr;

  void set_tdcm(std::shared_ptr<device::interfaces::tdcm> tdcm) { tdcm_ = std::move(tdcm); }

 protected:
  float osnr_bandwidth_of(const control_ptr& control) override;
  void begin_osnr_pass() override;
  void log_osnr(unsigned id, float power, float neighbor, float osnr) override;

 private:
  std::shared_ptr<device::interfaces::tdcm> tdcm_;
  asked_once<float> dispersion_;
};

}  // namespace products::orva::orvapro
