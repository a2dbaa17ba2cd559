#include "bench/device_calls.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "api/status_value.h"
#include "bench/measure.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/value_tree/nexel_api.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/thread_rank.h"
#include "tests/system/storm.h"

namespace bench {
namespace {

using clock = std::chrono::steady_clock;

constexpr unsigned values = 3000;
constexpr unsigned clients = 8;
constexpr unsigned rounds = 7;
// A cycle asks for about twenty paths and pauses.
constexpr unsigned cycles = 150;
constexpr unsigned calls_a_cycle = 20;
constexpr std::chrono::milliseconds pause{10};

double p99_us(nexel_client_api& device) {
  std::vector<double> took;
  for (unsigned cycle = 0; cycle < cycles; ++cycle) {
    for (unsigned call = 0; call < calls_a_cycle; ++call) {
      const auto asked = clock::now();
      device.get<float>("data/txPower");
      took.push_back(std::chrono::duration<double, std::micro>(clock::now() - asked).count());
    }
    std::this_thread::sleep_for(pause);
  }
  const auto place = took.begin() + static_cast<std::ptrdiff_t>(took.size() * 99 / 100);
  std::nth_element(took.begin(), place, took.end());
  return *place;
}

double on_a_loops_thread(nexel_client_api& device) {
  return std::async(std::launch::async,
                    [&] {
                      nx::take_rank("manager", nx::thread_rank::loops);
                      return p99_us(device);
                    })
      .get();
}

}  // namespace

double disturbed_device_calls(const std::string& device, const std::string& folder) {
  const auto socket = folder + "/bench_tree";
  nexel_api server(socket, 0, false);
  std::vector<std::shared_ptr<nx::api::status_value<float>>> tree;
  for (unsigned i = 0; i < values; ++i) {
    tree.push_back(nx::api::status_value<float>::create(
        server.get_db(), fmt::format("data/client/{}/power", i), 0.0F, 1));
  }
  std::thread serving([&] { server.start(); });
  const auto client = nexel_client::create(server.get_db().get_io_context(), device, "device", {});
  std::vector<double> ratios;
  while (ratios.size() < rounds) {
    const double alone = on_a_loops_thread(*client);
    const test::storm greedy(clients, [&] { test::pipeline_info(socket); });
    ratios.push_back(on_a_loops_thread(*client) / alone);
  }
  server.stop();
  serving.join();
  return median(ratios);
}

}  // namespace bench
