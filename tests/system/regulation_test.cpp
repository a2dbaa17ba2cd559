// The light of a node of real processes: how it reaches its targets, and the effect of a dead or
// hung device.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/nexel_client/line_client.h"
#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;

// From a device's return to the first step of a channel that waits for one: three cycles, and two
// more until the plant tells of it. A silent one is asked once a second, which is two cycles, with
// one at either end.
constexpr unsigned most_cycles = 5;
constexpr unsigned cycles_between_probes = 3;
constexpr auto device_time_out = 2s;

/// A client that reads all channels again and again, and keeps the slowest answer.
class busy_reader {
 public:
  explicit busy_reader(const std::string& socket)
      : client_(nx::line_client::connect_unix(socket)), thread_([this] { read_on(); }) {}

  /// Stops it; throws what a read threw.
  std::chrono::milliseconds slowest_answer() {
    stop_ = true;
    thread_.join();
    if (failure_) std::rethrow_exception(failure_);
    return slowest_;
  }
  ~busy_reader() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  busy_reader(const busy_reader&) = delete;
  busy_reader& operator=(const busy_reader&) = delete;

 private:
  void read_on() try {
    while (!stop_) {
      const auto start = std::chrono::steady_clock::now();
      client_->call("get", R"({"path":"data/client/*/rx/power"})");
      const auto took = std::chrono::steady_clock::now() - start;
      slowest_ = std::max(slowest_, std::chrono::duration_cast<std::chrono::milliseconds>(took));
    }
  } catch (...) {
    failure_ = std::current_exception();
  }

  std::unique_ptr<nx::line_client> client_;
  std::atomic<bool> stop_{false};
  std::chrono::milliseconds slowest_{0};
  std::exception_ptr failure_;
  std::thread thread_;
};

// A device, and what becomes of it.
struct faulty_device : testing::TestWithParam<std::pair<std::string, std::string>> {
  unsigned cycles() {
    return node.daemon().count(test::operational_line) +
           node.daemon().count(test::not_operational_line);
  }

  test::regulating_node node;
};

TEST_P(faulty_device, moves_no_channel_and_is_used_again_at_once) {
  const auto [device, state] = GetParam();
  const std::string told = state == "hung" ? "No answer within 2 s" : "Not connected";
  node.bring_up();
  busy_reader reader(node.daemon_socket());
  node.plant().set_device(device, state);
  ASSERT_TRUE(node.wait_for_more(told + ": " + node.root().path())) << node.daemon().last_lines();
  const auto in_fault = node.plant().attenuations();
  const auto channel = node.plant().channels()[5];
  const auto attenuation = fmt::format("truth/node/0/rx/channel/{}/attenuation", channel);
  node.plant().disturb(channel, 2.0);
  ASSERT_TRUE(node.wait_for_more(told, 8)) << node.daemon().last_lines();
  EXPECT_EQ(node.plant().attenuations(), in_fault);

  const auto cycles_before = cycles();
  node.plant().set_device(device, "ok");
  EXPECT_TRUE(test::eventually([&] {
    return node.plant().number(attenuation) > in_fault.at(attenuation);
  })) << node.daemon().last_lines();
  const unsigned until_asked = state == "hung" ? cycles_between_probes : 0;
  EXPECT_LE(cycles() - cycles_before, most_cycles + until_asked);
  EXPECT_TRUE(node.await_rest()) << node.plant().off_target(test::rest_db);
  const auto failures = node.daemon().count(told);
  const auto down = node.daemon().count(test::not_operational_line);
  ASSERT_TRUE(node.wait_for_more(test::operational_line, 3)) << node.daemon().last_lines();
  EXPECT_EQ(node.daemon().count(told), failures);
  EXPECT_EQ(node.daemon().count(test::not_operational_line), down);
  EXPECT_LT(reader.slowest_answer(), device_time_out) << "a read has waited for the device";
}

INSTANTIATE_TEST_SUITE_P(devices, faulty_device,
                         testing::Values(std::pair{"wss_edge", "killed"},
                                         std::pair{"wss_edge", "hung"},
                                         std::pair{"booster", "hung"}),
                         [](const auto& row) { return row.param.first + "_" + row.param.second; });

}  // namespace
