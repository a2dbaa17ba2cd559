// Proxy of the dispersion compensator. Its range and part number are read once and kept for the
// life of the process, across proxy objects.
#pragma once

#include <memory>
#include <string>

#include "device/hardware/proxy.h"
#include "device/interfaces/tdcm.h"

namespace device::hardware {

class tdcm : public device::interfaces::tdcm {
 public:
  tdcm(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path);

  void check_dispersion(float value) override;
  void set_dispersion(float value) override;
  float get_dispersion() override;
  float get_max_dispersion() override;
  float get_min_dispersion() override;
  std::string get_partNumber() override;
  float clamp_dispersion(float value) override;
  float limit_dispersion(float value, bool enabled) override;

  /// Makes range and part number be read again, so that each test starts fresh.
  static void forget_for_test();

 private:
  std::shared_ptr<nexel_client_api> client_;
};

}  // namespace device::hardware
