// Plan, then the peer's lock, then that of its connection: threads that take them in every way the
// daemon does, while the connection comes and goes. Meant for the thread sanitizer; a wrong order
// also shows as a test that never ends.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "base/manager/remote/api.h"
#include "platform/wire/nx_error.h"
#include "products/control_types_full.h"
#include "tests/unit/remote/peer_tree.h"

namespace {

using plan_t = channel::plan<products::orva_control>;
constexpr unsigned channel_id = 19600000;

template <class Read>
void read_or_refuse(Read&& read) {
  try {
    read();
  } catch (const nx_error&) {
  }
}

TEST(lock_order, of_plan_peer_and_connection_holds_while_the_peer_comes_and_goes) {
  nx_db own;
  test::peer_tree peer;
  peer.fill("ORVA-LITE", {channel_id});
  nx::in_process_network network;
  network.attach(test::peer_tree::address, peer.db);
  const auto osc = std::make_shared<test::fake_osc>();
  const auto plan = std::make_shared<plan_t>(768, "tx");
  plan->add_channel(channel_id, 5000, 1, "1");
  const auto remote = std::make_shared<manager::remote::api>();

  std::atomic<bool> running{true};
  const auto repeat = [&running](auto&& action) {
    return std::thread([&running, action] {
      while (running)
        action();
    });
  };
  auto line = repeat([&] {  // as the line loop reads the peer
    const std::lock_guard lock(plan->get_mutex());
    read_or_refuse([&] { remote->get_channel_tx_ocm_power(channel_id); });
  });
  auto poller = repeat([&] {
    read_or_refuse([&] { remote->get_line_tx_power(); });
    remote->has_osnr();
    remote->is_known();
  });
  auto command = repeat([&] {
    const std::lock_guard lock(plan->get_mutex());
    plan->add_channel(channel_id, 5000, 1, "1");
  });
  std::atomic<unsigned> known_cycles{0};
  std::atomic<unsigned> losses{0};
  auto link = repeat([&] {  // connection events, raised here as on the library's executor
    network.deliver();
    if (known_cycles < 10 * (losses + 1)) return;
    ++losses;
    network.set_state(test::peer_tree::address, nx::link_state::dead);
    network.deliver();
    network.set_state(test::peer_tree::address, nx::link_state::up);
  });
  while (losses < 8) {
    remote->run(own, osc, plan);
    if (remote->is_known()) ++known_cycles;
    std::this_thread::yield();
  }
  running = false;
  for (auto* thread : {&line, &poller, &command, &link})
    thread->join();
}

}  // namespace
