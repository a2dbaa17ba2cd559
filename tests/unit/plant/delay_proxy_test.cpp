// A server's socket with the proxy in front: late, in order, side by side, and gone with either
// end.
#include "sim/delay_proxy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "tests/unit/platform/server_fixture.h"

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

const std::string get = request(1, "get", "a") + '\n';

class delay_proxy : public testing::Test {
 protected:
  delay_proxy() { server->start_accepting(); }

  raw_client connect() const {
    return raw_client(nx::line_client::connect_unix(folder.file("front")));
  }

  const test::temp_folder folder;
  nx_db db;
  const std::shared_ptr<test::value_node> node = test::value_node::create(db, "a", "1");
  nx::server_runtime runtime;
  std::unique_ptr<nx::nx_server> server =
      std::make_unique<nx::nx_server>(runtime, db, folder.file("near"));
  sim::delay_proxy proxy{folder.file("front"), folder.file("near"), 300ms};
};

TEST_F(delay_proxy, answers_come_late_and_side_by_side) {
  const auto first = connect();
  const auto second = connect();
  constexpr int requests = 50;
  const auto begin = clock::now();
  for (int i = 0; i < requests; ++i) {
    first.send(get);
    second.send(get);
  }
  for (int i = 0; i < requests; ++i) {
    EXPECT_EQ(first.line(), result(1, R"("a":1)"));
    EXPECT_EQ(second.line(), result(1, R"("a":1)"));
    EXPECT_GE(clock::now() - begin, 300ms);
  }
  EXPECT_LT(clock::now() - begin, 5s) << "one after the other they would take half a minute";
  proxy.set_latency(0ms);
  first.send(get);
  EXPECT_EQ(first.line(), result(1, R"("a":1)"));
}

TEST_F(delay_proxy, events_keep_their_place_when_the_latency_ends) {
  const auto client = connect();
  const auto begin = clock::now();
  client.send(request(1, "subscribe", "a") + '\n');
  EXPECT_EQ(client.line(), result(1, R"("a":1)"));
  EXPECT_NE(client.line().find(R"("value":1})"), std::string::npos);
  EXPECT_GE(clock::now() - begin, 300ms);
  node->update("2");
  proxy.set_latency(0ms);
  client.send(get);
  EXPECT_NE(client.line().find(R"("value":2})"), std::string::npos);
  EXPECT_EQ(client.line(), result(1, R"("a":2)"));
}

TEST_F(delay_proxy, what_waits_goes_out_when_the_server_ends_and_nobody_is_let_in_after_it) {
  std::atomic<bool> read{false};
  test::read_node::create(db, "b", [&] {
    read = true;
    return "7";
  });
  const auto client = connect();
  client.send(request(1, "get", "b") + '\n');
  client.end_sending();
  while (!read)
    std::this_thread::sleep_for(1ms);
  server.reset();
  EXPECT_EQ(client.line(), result(1, R"("b":"7")"));
  EXPECT_EQ(client.line(), "closed");
  EXPECT_EQ(connect().line(), "closed");
}

}  // namespace
