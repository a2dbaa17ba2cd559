// What a user of a client sees, identical over a socket and in the process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <limits>

#include "nexel_under_test.h"
#include "platform/wire/json_conversion.h"
#include "tests/support/log_capture.h"
#include "tests/support/process_figures.h"

namespace client_test {

using testing::ElementsAre;

class client : public testing::TestWithParam<std::unique_ptr<nexel_under_test> (*)()> {
 protected:
  std::shared_ptr<noting_subscriber> subscribe(const std::string& path) {
    auto subscriber = std::make_shared<noting_subscriber>(path, events);
    connection->add_subscriber(subscriber);
    return subscriber;
  }

  std::unique_ptr<nexel_under_test> nexel = GetParam()();
  nx_db& tree = nexel->tree;
  journal events;
  std::shared_ptr<noting_connection> receiver = std::make_shared<noting_connection>(events);
  std::shared_ptr<nexel_client_api> connection = nexel->connect(receiver);
};

TEST_P(client, reads_each_type_and_names_the_one_it_found) {
  value_node::create(tree, "data/flag", "true");
  value_node::create(tree, "data/count", "-7");
  value_node::create(tree, "data/name", R"("wss \"1\"")");
  EXPECT_TRUE(connection->get<bool>("data/flag"));
  EXPECT_EQ(connection->get<float>("data/count"), -7.0f);
  EXPECT_EQ(connection->get<int>("data/count"), -7);
  EXPECT_EQ(connection->get<std::string>("data/name"), "wss \"1\"");
  EXPECT_EQ(connection->get<std::string>("data/count"), "-7");

  const auto error = failure_of([&] { connection->get<unsigned int>("data/count"); });
  EXPECT_EQ(error.code, -22);
  EXPECT_EQ(error.message, "expected unsigned int, found 32-bit signed integer");
  EXPECT_EQ(error.path, "data/count");
}

TEST_P(client, default_stands_for_an_unknown_path_alone) {
  auto node = value_node::create(tree, "data/product", R"("orva")");
  const auto read = [&](const std::string& path) {
    const auto request = std::make_shared<nexel_read_request>();
    const auto object = std::make_shared<nexel_read_default_object<std::string>>(path, "n/a");
    auto answer = object->get_future();
    request->add_object(object);
    connection->server_call(request);
    return connection->wait_for(answer, path);
  };
  EXPECT_EQ(read("data/product"), "orva");
  EXPECT_EQ(read("data/nothing"), "n/a");

  node->fail({-61, "Value has not been set"});
  const auto code = [&] { return failure_of([&] { read("data/product"); }).code; };
  EXPECT_EQ(code(), -61);
  EXPECT_EQ(failure_of([&] { connection->get<std::string>("data/nothing"); }).code, -2);
  nexel->set_state(nx::link_state::dead);
  EXPECT_EQ(code(), -107);
}

TEST_P(client, writes_values_as_they_are) {
  auto node = value_node::create(tree, "config/any", "null");
  const auto stored = [&](auto value) {
    connection->set<void>("config/any", value);
    return node->json();
  };
  EXPECT_EQ(stored(false), "false");
  EXPECT_EQ(stored(12.3f), "12.3");
  EXPECT_EQ(stored(-4), "-4");
  EXPECT_EQ(stored(std::string("a\nb")), R"("a\nb")");
  const auto refused = failure_of([&] { stored("bad"); });
  EXPECT_EQ(refused.code, -22);
  EXPECT_EQ(refused.message, "Not a value for this node");
  EXPECT_EQ(refused.path, "config/any");
  EXPECT_EQ(failure_of([&] { stored(std::numeric_limits<float>::quiet_NaN()); }).code, -22);
  EXPECT_EQ(node->json(), R"("a\nb")");
}

TEST_P(client, commands_answer) {
  command_node::create(tree, "command/add",
                       [](const std::string& args) { return args == "5" ? "true" : "17"; });
  EXPECT_TRUE(connection->set<bool>("command/add", 5));
  EXPECT_EQ(connection->set<int>("command/add", "x"), 17);
  connection->set<void>("command/add", 1);
  EXPECT_EQ(failure_of([&] { connection->set<bool>("command/add", 1); }).message,
            "expected bool, found 32-bit unsigned integer");
  value_node::create(tree, "config/plain", "1");
  EXPECT_EQ(failure_of([&] { connection->set<bool>("config/plain", 1); }).code, -22);
}

TEST_P(client, requests_of_several_objects_resolve_each) {
  auto node = value_node::create(tree, "a", "1");
  value_node::create(tree, "b", "2");
  const std::string a = "a", b = "b", none = "none";
  auto reads = std::make_shared<nexel_read_request>();
  auto read_b = std::make_shared<nexel_read_object<int>>(b);
  auto read_none = std::make_shared<nexel_read_object<int>>(none);
  reads->add_object(read_none);
  reads->add_object(read_b);
  connection->server_call(reads);
  EXPECT_EQ(read_b->get_future().get(), 2);
  EXPECT_EQ(failure_of([&] { read_none->get_future().get(); }).code, -2);

  // One response for two writes: it succeeds with the last, and fails with any.
  auto write_both = [&](const std::string& second) {
    auto response = std::make_shared<nexel_write_response<void>>();
    auto writes = std::make_shared<nexel_write_request>();
    writes->add_object(std::make_shared<nexel_write_object<int, void>>(a, 10, response));
    writes->add_object(std::make_shared<nexel_write_object<int, void>>(second, 20, response));
    connection->server_call(writes);
    response->get_future().get();
  };
  write_both(a);
  EXPECT_EQ(node->json(), "20");
  EXPECT_EQ(failure_of([&] { write_both(none); }).code, -2);
  EXPECT_EQ(node->json(), "10");
}

TEST_P(client, subscription_follows_value_error_and_removal) {
  auto node = value_node::create(tree, "data/power", "1.5");
  ASSERT_TRUE(nexel->await(events, "established nexel"));
  auto subscriber = subscribe("data/power");
  ASSERT_TRUE(nexel->await(events, "data/power = 1.5"));
  node->update("1.6");
  node->fail({-5, "No light"});
  node->update("1.7");
  ASSERT_TRUE(nexel->await(events, "data/power = 1.7"));
  tree.remove_node("data/power");
  ASSERT_TRUE(nexel->await(events, "data/power ended"));
  EXPECT_THAT(events.entries(),
              ElementsAre("established nexel", "data/power = 1.5", "data/power = 1.6",
                          "data/power ! -5", "data/power = 1.7", "data/power ended"));
}

TEST_P(client, refused_subscription_is_tried_again) {
  auto subscriber = subscribe("data/late");
  ASSERT_TRUE(nexel->await(events, "data/late ! -2", 2));
  value_node::create(tree, "data/late", "3");
  EXPECT_TRUE(nexel->await(events, "data/late = 3"));
}

TEST_P(client, dead_subscriber_is_unsubscribed_and_a_new_one_gets_the_value) {
  auto node = value_node::create(tree, "data/power", "1");
  auto first = subscribe("data/power");
  ASSERT_TRUE(nexel->await(events, "data/power = 1"));
  // Replaced at once, as a repair does: the newcomer starts from the present value.
  first.reset();
  node->update("2");
  first = subscribe("data/power");
  EXPECT_TRUE(nexel->await(events, "data/power = 2"));
  first.reset();
  EXPECT_TRUE(nexel->await([&] { return !node->has_subscribers(); }));
}

TEST_P(client, dead_nexel_fails_calls_tells_subscribers_and_comes_back) {
  auto node = value_node::create(tree, "data/power", "1");
  value_node::create(tree, "data/gain", "20");
  auto power = subscribe("data/power");
  auto gain = subscribe("data/gain");
  auto forgotten = subscribe("data/power");
  ASSERT_TRUE(nexel->await(events, "data/power = 1", 2));
  ASSERT_TRUE(nexel->await(events, "data/gain = 20"));
  ASSERT_TRUE(nexel->await(events, "established nexel"));
  forgotten.reset();

  nexel->set_state(nx::link_state::dead);
  ASSERT_TRUE(nexel->await(events, "lost nexel"));
  EXPECT_EQ(events.count("data/power ! -107"), 1u);
  EXPECT_EQ(events.count("data/gain ! -107"), 1u);
  const auto error = failure_of([&] { connection->get<float>("data/power"); });
  EXPECT_EQ(error.code, -107);
  EXPECT_EQ(error.message, "Not connected: " + nexel->address());
  EXPECT_EQ(error.path, "data/power");

  node->update("4");
  nexel->set_state(nx::link_state::up);
  EXPECT_EQ(connection->get<float>("data/power"), 4.0f) << "back at the next call";
  EXPECT_TRUE(nexel->await(events, "data/power = 4"));
  EXPECT_TRUE(nexel->await(events, "data/gain = 20", 2));
  EXPECT_TRUE(nexel->await(events, "established nexel", 2));
  node->update("5");
  EXPECT_TRUE(nexel->await(events, "data/power = 5"));
}

TEST_P(client, hung_nexel_fails_calls_and_is_used_again_when_it_answers) {
  value_node::create(tree, "data/power", "1");
  const auto code = [&] { return failure_of([&] { connection->get<int>("data/power"); }).code; };
  EXPECT_EQ(code(), 0);
  nexel->set_state(nx::link_state::hung);
  EXPECT_EQ(code(), -110);
  nexel->set_state(nx::link_state::up);
  EXPECT_TRUE(nexel->await([&] { return code() == 0; }));
  nexel->set_state(nx::link_state::hung);
  EXPECT_EQ(code(), -110);
  nexel->set_state(nx::link_state::dead);
  ASSERT_TRUE(nexel->await(events, "lost nexel"));
  nexel->set_state(nx::link_state::up);
  EXPECT_EQ(code(), 0) << "a new connection is not silent";
}

class wrong_type_subscriber : public noting_subscriber {
 public:
  using noting_subscriber::noting_subscriber;
  void send_changed_value_event(std::string_view path, const nx::json_value& value) override {
    noting_subscriber::send_changed_value_event(path, value);
    nx::from_json<float>(value);
  }
};

TEST_P(client, receiver_that_throws_harms_nobody_and_is_logged_once) {
  auto node = value_node::create(tree, "data/name", R"("a")");
  test::log_capture log;
  auto thrower = std::make_shared<wrong_type_subscriber>("data/name", events);
  connection->add_subscriber(thrower);
  auto other = subscribe("data/name");
  ASSERT_TRUE(nexel->await(events, R"(data/name = "a")", 2));
  node->update(R"("b")");
  node->update(R"("c")");
  ASSERT_TRUE(nexel->await(events, R"(data/name = "c")", 2));
  EXPECT_EQ(connection->get<std::string>("data/name"), "c");
  EXPECT_EQ(log.count("Subscriber of data/name failed: expected float, found string"), 1);
}

TEST_P(client, a_thousand_connections_to_a_nexel_that_restarts_leave_nothing_behind) {
  constexpr std::size_t clients = 50;
  const std::string value = "data/power = 1";
  value_node::create(tree, "data/power", "1");
  connection.reset();  // nobody would wait for its return
  std::vector<std::shared_ptr<nexel_client_api>> connections;
  std::vector<std::shared_ptr<noting_subscriber>> subscribers;
  for (std::size_t i = 0; i < clients; ++i) {
    connections.push_back(nexel->connect(receiver));
    subscribers.push_back(std::make_shared<noting_subscriber>("data/power", events));
    connections.back()->add_subscriber(subscribers.back());
  }
  ASSERT_TRUE(nexel->await(events, value, clients));
  const auto restart = [&](unsigned times) {
    for (; times > 0; --times) {
      const auto seen = events.count(value);
      nexel->set_state(nx::link_state::dead);
      nexel->set_state(nx::link_state::up);
      ASSERT_TRUE(nexel->await(events, value, seen + clients));
    }
  };
  restart(2);
  const auto before = test::figures_of(::getpid());
  const auto heap = test::heap_in_use_mib();
  restart(20);
  test::process_figures after;
  constexpr unsigned workers = 64;  // that the server may still add, once and for all
  const auto is_as_before = [&] {
    after = test::figures_of(::getpid());
    return after.descriptors == before.descriptors && after.threads <= before.threads + workers;
  };
  EXPECT_TRUE(nexel->await(is_as_before))
      << after.descriptors << " descriptors after " << before.descriptors << ", " << after.threads
      << " threads after " << before.threads;
  EXPECT_LT(test::heap_in_use_mib(), heap + 0.5);
}

INSTANTIATE_TEST_SUITE_P(transports, client,
                         testing::Values(&nexel_under_test::in_process,
                                         &nexel_under_test::over_socket),
                         [](const auto& tested) { return tested.index ? "socket" : "in_process"; });

}  // namespace client_test
