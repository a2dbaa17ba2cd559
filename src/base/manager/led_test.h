// The LED test at a coldstart: sweeps the panel green, yellow and off for a minute, so that a
// person in front of the node sees each LED work. Runs on the LED thread and uses only the device.
// Port numbers count from 1.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace device::interfaces {
class led;
}

namespace manager {

/// One part of a sweep.
struct led_test_step {
  enum class kind {
    line,
    one_xc,       ///< the cross-connect port `number`
    all_clients,  ///< all that the panel has: 1, 2, 5, 6, ... and back through the others
    all_xcs       ///< the first half upwards, then the second half from its end
  };
  kind what;
  unsigned number = 0;
};

struct led_test_plan {
  const char* not_up_yet;  ///< logged while the device is not ready for the test
  bool waits_for_device;   ///< before each sweep
  unsigned pair_count;     ///< LED pairs of the panel: the more, the less time per write
  unsigned xc_count;
  std::vector<led_test_step> sweep;
  unsigned client_count = 0;  ///< of the model; the panel may have fewer
  /// A refused write ends the turn of its pair, not the test.
  bool passes_over_refusals = false;
};

/// Time per write: a sweep of the whole panel takes 1.7 s.
std::chrono::microseconds led_test_delay(unsigned pair_count);

class led_test {
 public:
  led_test(device::interfaces::led& device, const led_test_plan& plan,
           std::function<bool()> is_stopping, std::function<bool(std::chrono::nanoseconds)> pause);

  /// False if it was stopped early. Waits for a panel that is away, at the start and, if the plan
  /// says so, before each sweep. Throws the nx_error of a refused write, unless the plan skips it.
  bool run();

 private:
  void wait_for_device();
  bool device_is_ready();
  void sweep();
  void sweep_step(const led_test_step& step);
  void sweep_clients();
  void sweep_xcs();
  bool client_exists(unsigned number);
  void write_client_pair(unsigned number);
  void guarded_pair(const char* failure, const std::function<void()>& write);
  void pass_over(int severity, const std::string& failure);
  void write_xc_pair(unsigned number);
  void write_line_pair();
  void write_pair(const std::function<void()>& tx, const std::function<void()>& rx);
  void next_colour();

  device::interfaces::led& device_;
  const led_test_plan& plan_;
  std::function<bool()> is_stopping_;
  std::function<bool(std::chrono::nanoseconds)> pause_;
  std::chrono::microseconds delay_;
  std::string colour_;
};

}  // namespace manager
