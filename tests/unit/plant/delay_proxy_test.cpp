// A server's socket with the proxy in front: late, in order, side by side, and gone with either
// end.
#include "sim/delay_proxy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/nexel_client/line_client.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_server.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/support/nodes.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

class delay_proxy : public testing::Test {
 protected:
  delay_proxy() { server->start_accepting(); }

  std::unique_ptr<nx::line_client> connect() const {
    return nx::line_client::connect_unix(folder.file("front"));
  }
  static void ask(nx::line_client& client, const std::string& method,
                  const std::string& path = "a") {
    client.send_raw(R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":{"path":")" +
                    path + "\"}}\n");
  }
  /// "closed" at the end of the connection.
  static std::string line(nx::line_client& client) try {
    return client.read_line(10s).value_or("nothing");
  } catch (const nx_client_exception&) {
    return "closed";
  }
  static std::string answer(const std::string& value) {
    return R"({"jsonrpc":"2.0","id":1,"result":{"a":)" + value + "}}";
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
    ask(*first, "get");
    ask(*second, "get");
  }
  for (int i = 0; i < requests; ++i) {
    EXPECT_EQ(line(*first), answer("1"));
    EXPECT_EQ(line(*second), answer("1"));
    EXPECT_GE(clock::now() - begin, 300ms);
  }
  EXPECT_LT(clock::now() - begin, 5s) << "one after the other they would take half a minute";
  proxy.set_latency(0ms);
  ask(*first, "get");
  EXPECT_EQ(line(*first), answer("1"));
}

TEST_F(delay_proxy, events_keep_their_place_when_the_latency_ends) {
  const auto client = connect();
  const auto begin = clock::now();
  ask(*client, "subscribe");
  EXPECT_EQ(line(*client), answer("1"));
  EXPECT_NE(line(*client).find(R"("value":1})"), std::string::npos);
  EXPECT_GE(clock::now() - begin, 300ms);
  node->update("2");
  proxy.set_latency(0ms);
  ask(*client, "get");
  EXPECT_NE(line(*client).find(R"("value":2})"), std::string::npos);
  EXPECT_EQ(line(*client), answer("2"));
}

TEST_F(delay_proxy, what_waits_goes_out_when_the_server_ends_and_nobody_is_let_in_after_it) {
  std::atomic<bool> read{false};
  test::read_node::create(db, "b", [&] {
    read = true;
    return "7";
  });
  const auto client = connect();
  ask(*client, "get", "b");
  client->end_sending();
  while (!read)
    std::this_thread::sleep_for(1ms);
  server.reset();
  EXPECT_EQ(line(*client), R"({"jsonrpc":"2.0","id":1,"result":{"b":"7"}})");
  EXPECT_EQ(line(*client), "closed");
  EXPECT_EQ(line(*connect()), "closed");
}

}  // namespace
