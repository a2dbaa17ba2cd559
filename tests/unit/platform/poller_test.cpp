// The threads that poll values: the effect of a hung device on the values of others.
#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "platform/value_tree/server/thread_poller.h"
#include "platform/value_tree/value_group.h"
#include "tests/support/gate.h"
#include "tests/support/nodes.h"

namespace {

using namespace std::chrono_literals;

/// Calls `at_poll` with the number of its poll.
class polled_value : public test::value_node {
 public:
  polled_value(const std::string& name, std::function<void(int)> at_poll)
      : value_node(name, "0"), at_poll_(std::move(at_poll)) {}
  void periodic_task(bool) override { at_poll_(++polls); }

 private:
  std::function<void(int)> at_poll_;
};

class thread_poller : public testing::Test {
 protected:
  std::shared_ptr<polled_value> add(const std::string& name, std::function<void(int)> at_poll) {
    auto node = test::add_node<polled_value>(db, name, std::move(at_poll));
    group->add_value(node, 1);
    return node;
  }
  // Far above what a busy machine takes for a value: a good one that counted as slow would wait.
  const std::shared_ptr<nx::thread_poller> poller = std::make_shared<nx::thread_poller>(
      nx::thread_poller::limits{.slow_after = 200ms, .idle = 100ms});
  nx_db db{poller};
  const std::shared_ptr<nx::api::value_group> group =
      std::make_shared<nx::api::value_group>(50ms, 0, 0);
};

TEST_F(thread_poller, polls_values_of_healthy_devices_while_all_of_another_hang) {
  constexpr int values = 16;
  test::gate door;
  std::latch polled(10);
  std::vector<std::shared_ptr<polled_value>> hung;
  for (int i = 0; i < values; ++i)
    hung.push_back(add("hung" + std::to_string(i), [&](int) { door.pass(); }));
  add("good", [&](int count) {
    if (count > 5 && count <= 15) polled.count_down();
  });
  door.wait_for_arrivals(values);
  polled.wait();
  for (const auto& node : hung)
    EXPECT_EQ(node->polls, 1) << "not entered again while it is busy";
  EXPECT_GE(poller->worker_count(), 17u);
  door.open();
  while (poller->worker_count() > 2)
    std::this_thread::sleep_for(1ms);
  poller->stop();
}

TEST_F(thread_poller, gives_values_that_are_known_to_be_slow_a_few_workers_alone) {
  constexpr int values = 12;
  std::latch slow_once(values);
  test::gate door;
  for (int i = 0; i < values; ++i) {
    add("slow" + std::to_string(i), [&](int poll) {
      if (poll > 1) return door.pass();
      std::this_thread::sleep_for(300ms);
      slow_once.count_down();
    });
  }
  slow_once.wait();
  std::latch polled(10);
  add("good", [&](int count) {
    if (count <= 10) polled.count_down();
  });
  door.wait_for_arrivals(4);
  polled.wait();
  EXPECT_EQ(door.arrivals(), 4);
  door.open();
  poller->stop();
}

}  // namespace
