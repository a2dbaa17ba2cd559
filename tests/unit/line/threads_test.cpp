// The loop on its thread, the pollers on theirs and channel commands in between; meant for the
// thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/unit/line/line_bench.h"

namespace {

constexpr unsigned channel_id = 19600000;

TEST(line_threads, cycles_polls_and_commands_do_not_get_into_each_others_way) {
  test::line_bench bench;
  bench.plan->add_channel(channel_id, 5000, 1, "1");
  bench.peer.fill("ORVA-LITE", {channel_id});
  bench.start();
  bench.meet_peer();

  std::atomic<bool> running{true};
  std::thread polls([&] {
    while (running)
      bench.poller->advance(std::chrono::seconds(5));
  });
  std::thread commands([&] {
    while (running) {
      const std::lock_guard lock(bench.plan->get_mutex());
      bench.plan->add_channel(channel_id, 5000, 1, "1");
    }
  });
  std::thread settings([&] {
    while (running)
      bench.line->set_wanted_power(4.0f);
  });
  for (int cycle = 0; cycle < 200; ++cycle) {
    bench.peer.set("data/client/19600000/tx/ocm/power", static_cast<float>(cycle % 2));
    bench.cycle();
  }
  running = false;
  polls.join();
  commands.join();
  settings.join();
  EXPECT_TRUE(bench.line->is_operational());
}

}  // namespace
