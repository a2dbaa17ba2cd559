// Promises of the in-process transport only: time and events are under the test's control.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "journal.h"
#include "platform/in_process/network.h"
#include "tests/support/nodes.h"

namespace client_test {

using test::value_node;

using testing::ElementsAre;
using testing::IsEmpty;

class in_process : public testing::Test {
 protected:
  in_process() {
    network.set_wait([this](std::chrono::milliseconds time) { now += time; });
    network.attach("nexel", tree);
  }

  std::shared_ptr<nexel_client_api> connect() {
    return nexel_client::create(nullptr, "nexel", "nexel", receiver);
  }
  void follow_clock() {
    network.set_clock([this] { return now; });
  }
  nx_db tree;
  nx::in_process_network network;
  std::chrono::steady_clock::time_point now{};
  journal events;
  std::shared_ptr<noting_connection> receiver = std::make_shared<noting_connection>(events);
};

TEST_F(in_process, connection_events_wait_for_deliver) {
  auto client = connect();
  EXPECT_THAT(events.entries(), IsEmpty());
  network.set_state("nexel", nx::link_state::dead);
  network.set_state("nexel", nx::link_state::up);
  network.deliver();
  EXPECT_THAT(events.entries(),
              ElementsAre("established nexel", "lost nexel", "established nexel"));
  network.set_state("nexel", nx::link_state::dead);
  client.reset();
  network.deliver();
  EXPECT_EQ(events.entries().size(), 3u) << "none for a client that is gone";
}

TEST_F(in_process, events_of_a_hung_or_dead_nexel_are_made_up_for) {
  auto node = value_node::create(tree, "a", "1");
  auto client = connect();
  auto subscriber = std::make_shared<noting_subscriber>("a", events);
  client->add_subscriber(subscriber);
  network.deliver();
  EXPECT_THAT(events.entries(), ElementsAre("a = 1", "established nexel"));
  network.set_state("nexel", nx::link_state::hung);
  node->update("2");
  node->update("3");
  network.set_state("nexel", nx::link_state::up);
  network.deliver();
  EXPECT_THAT(events.entries(), ElementsAre("a = 1", "established nexel", "a = 3"));

  network.set_state("nexel", nx::link_state::dead);
  EXPECT_EQ(events.count("a ! -107"), 1u) << "at once, not at the next step";
  node->update("4");
  EXPECT_FALSE(node->has_subscribers());
  network.set_state("nexel", nx::link_state::up);
  EXPECT_EQ(events.count("a = 4"), 0u);
  network.deliver();
  EXPECT_EQ(events.count("a = 4"), 1u);
}

TEST_F(in_process, a_slow_nexel_answers_late_and_side_by_side) {
  follow_clock();
  const auto node = value_node::create(tree, "a", "1");
  auto client = connect();
  network.set_latency("nexel", 700ms);
  const auto begin = now;
  const auto ask = [&] {
    auto object = std::make_shared<nexel_read_object<int>>("a");
    auto request = std::make_shared<nexel_read_request>();
    request->add_object(object);
    client->server_call(request);
    return object->get_future();
  };
  auto first = ask();
  auto second = ask();
  EXPECT_EQ(first.wait_for(0s), std::future_status::timeout);
  node->update("2");
  EXPECT_EQ(client->get<int>("a"), 2) << "what is asked is done at once";
  EXPECT_EQ(now - begin, 700ms) << "three requests, one wait";
  EXPECT_EQ(first.get() + second.get(), 2);

  auto lost = ask();
  network.set_state("nexel", nx::link_state::dead);
  EXPECT_EQ(failure_of([&] { lost.get(); }).code, -107) << "at once";
  network.set_state("nexel", nx::link_state::up);
  network.set_latency("nexel", 3s);
  const auto asked = now;
  EXPECT_EQ(failure_of([&] { client->get<int>("a"); }).code, -110);
  EXPECT_EQ(now - asked, 2s) << "no caller waits longer";
}

TEST_F(in_process, a_slow_nexel_sends_its_events_late_and_in_order) {
  follow_clock();
  const auto node = value_node::create(tree, "a", "1");
  auto client = connect();
  network.set_latency("nexel", 500ms);
  const auto subscriber = std::make_shared<noting_subscriber>("a", events);
  client->add_subscriber(subscriber);
  network.deliver();
  EXPECT_THAT(events.entries(), ElementsAre("established nexel"));
  now += 300ms;
  node->update("2");
  now += 200ms;
  network.deliver();
  EXPECT_THAT(events.entries(), ElementsAre("established nexel", "a = 1"));
  network.set_latency("nexel", 0ms);
  node->update("3");
  EXPECT_EQ(events.count("a = 3"), 0u) << "does not overtake";
  now += 300ms;
  network.retry_subscriptions();
  EXPECT_THAT(events.entries(), ElementsAre("established nexel", "a = 1", "a = 2", "a = 3"));
  node->update("4");
  EXPECT_EQ(events.count("a = 4"), 1u);
}

}  // namespace client_test
