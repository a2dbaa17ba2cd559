// What every fake proxy answers where the tests do not care.
#pragma once

#include <memory>
#include <optional>

#include "device/interface.h"
#include "platform/nexel_client/nx_client_exception.h"

namespace test {

template <class Interface>
class fake_device : public Interface {
 public:
  bool operational = true;
  bool failing = false;  ///< every access throws

  bool is_operational() override { return read("is_operational", operational); }
  bool has_subscriber() override { return false; }
  std::optional<std::shared_ptr<device::subscriber>> get_subscriber() override { return {}; }
  void subscribe_channel(unsigned) override {}
  void unsubscribe_channel(unsigned) override {}
  void subscribe() override {}
  void unsubscribe() override {}
  unsigned get_channel_subscribe_count() override { return 0; }
  bool has_channel(unsigned) override { return false; }

 protected:
  void access(const char* name) const {
    if (failing) throw nx_client_exception{-107, "Not connected: device", name};
  }
  template <class T>
  T read(const char* name, const T& value) const {
    access(name);
    return value;
  }
};

}  // namespace test
