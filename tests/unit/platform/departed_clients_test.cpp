// Clients that end their sending, or go, while the server still works for them.
#include <atomic>
#include <thread>

#include "tests/unit/platform/server_fixture.h"

namespace {

using lines = std::vector<std::string>;

TEST_F(server_test, a_client_that_sends_no_more_still_gets_its_answers) {
  const auto a = value_node::create(db, "a", "1");
  const auto client = connect();
  client.send(request(1, "set", "a", R"(,"value":2)") + '\n' + request(2, "get", "a") + '\n');
  client.end_sending();
  EXPECT_EQ(client.lines(3), (lines{result(1, ""), result(2, R"("a":2)"), "closed"}));
}

// What it asked is not worked out, what it wrote is done.
TEST_F(server_test, a_client_that_has_gone_costs_no_large_answer) {
  std::atomic<int> reads{0};
  for (int i = 0; i < 10; ++i)
    read_node::create(db, fmt::format("many/{}", i), [&] { return std::to_string(++reads); });
  const auto a = value_node::create(db, "a", "1");
  gate door;
  add_wait(door);
  {
    const auto client = connect();
    client.send(run_wait(1));
    door.wait_for_arrivals(1);
    client.send(request(2, "get", "**") + '\n' + request(3, "subscribe", "**") + '\n' +
                request(4, "set", "a", R"(,"value":2)") + '\n');
  }
  // The server sees its end while the command still waits: another is served in between.
  const auto serve_another = [&] {
    for (int i = 0; i < 3; ++i)
      connect().ask(request(1, "get", "a"));
  };
  {
    // One that has ended its sending before may still wait for answers, until it goes as well.
    const auto client = connect();
    client.send(run_wait(1));
    door.wait_for_arrivals(2);
    client.send(request(2, "get", "**") + '\n');
    client.end_sending();
    serve_another();
  }
  serve_another();
  door.open();
  const auto other = connect();
  while (other.ask(request(5, "get", "a")) != result(5, R"("a":2)"))
    std::this_thread::yield();
  EXPECT_EQ(reads, 0);
  EXPECT_FALSE(a->has_subscribers());
}

// Their places are free for others, so that what they leave is limited for all of them together.
TEST_F(server_test, clients_that_have_gone_leave_16_mib_at_most) {
  gate door;
  std::atomic<int> counted{0};
  add_wait(door);
  command_node::create(db, "count", [&](const std::string&) { return std::to_string(++counted); });
  const std::string no_args = R"(,"args":[])";
  const auto megabyte = request(1, "run", "wait", no_args) + std::string(1'000'000, ' ') + '\n' +
                        request(2, "run", "count", no_args) + '\n';
  const test::log_capture log;
  constexpr int all = 20;
  constexpr int kept = 16;
  for (int i = 0; i < all; ++i)
    connect().send(megabyte);
  while (log.count("Dropped requests of clients that have gone") < all - kept)
    connect().ask(request(1, "get", "count"));
  door.open();
  while (counted < kept)
    std::this_thread::yield();
  server.reset();
  EXPECT_EQ(counted, kept);
}

}  // namespace
