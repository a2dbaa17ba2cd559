// The loop on its thread, the pollers on theirs, channel commands in between, and a peer that comes
// and goes: plan, then the peer's lock, then that of its connection. Meant for the thread
// sanitizer; a wrong order also aborts a debug build.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/unit/line/line_bench.h"

namespace {

constexpr unsigned channel_id = 19600000;

TEST(line_threads, cycles_polls_commands_and_a_flapping_link_do_not_get_into_each_others_way) {
  test::line_bench bench;
  bench.plan->add_channel(channel_id, 5000, 1, "1");
  bench.peer.fill("ORVA-LITE", {channel_id});
  bench.start();
  bench.meet_peer();

  std::atomic<bool> running{true};
  const auto repeat = [&running](auto&& action) {
    return std::jthread([&running, action] {
      while (running)
        action();
    });
  };
  const auto polls = repeat([&] { bench.poller->advance(std::chrono::seconds(5)); });
  const auto commands = repeat([&] {
    const std::lock_guard lock(bench.plan->get_mutex());
    bench.plan->add_channel(channel_id, 5000, 1, "1");
    bench.remote->known(manager::remote::device::operation::get_channel_tx_ocm_power, channel_id);
  });
  const auto settings = repeat([&] { bench.line->set_wanted_power(4.0f); });
  std::atomic<unsigned> known_cycles{0};
  std::atomic<unsigned> losses{0};
  const auto link = repeat([&] {  // connection events, raised here as on the library's executor
    bench.network.deliver();
    if (known_cycles < 10 * (losses + 1)) return;
    ++losses;
    bench.network.set_state(test::peer_tree::address, nx::link_state::dead);
    bench.network.deliver();
    bench.network.set_state(test::peer_tree::address, nx::link_state::up);
  });
  for (int cycle = 0; cycle < 200 || losses < 8; ++cycle) {
    bench.peer.set("data/client/19600000/tx/ocm/power", static_cast<float>(cycle % 2));
    bench.remote->run(bench.own, bench.osc, bench.plan);
    if (bench.remote->is_known()) ++known_cycles;
    bench.cycle();
  }
  running = false;
  EXPECT_TRUE(bench.line->is_operational());
}

}  // namespace
