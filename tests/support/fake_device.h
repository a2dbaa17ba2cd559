// What every fake proxy answers where the tests do not care.
#pragma once

#include "device/hardware/proxy.h"
#include "platform/wire/nx_client_exception.h"

namespace test {

template <class Interface>
class fake_device : public device::hardware::without_subscriptions<Interface> {
 public:
  fake_device() : device::hardware::without_subscriptions<Interface>("fake") {}

  bool operational = true;
  bool failing = false;  ///< every access throws

  bool is_operational() override { return read("is_operational", operational); }

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
