// The protocol over real sockets: order, events, slow and hostile clients.
#include "tests/unit/platform/server_fixture.h"

namespace {

using lines = std::vector<std::string>;

lines next_lines(raw_client& client, std::size_t count) {
  lines found;
  while (found.size() < count)
    found.push_back(client.line());
  return found;
}

TEST_F(server_test, answers_come_in_the_order_of_the_requests) {
  float_value::create(db, "a", 1);
  read_value::create(
      db, "slow", [] { return "s"; }, true);
  auto client = connect();
  const auto set = [](int id, int value) {
    return request(id, "set", "a", fmt::format(R"(,"value":{})", value));
  };
  client.send(request(1, "get", "a") + "\r\n\n" + set(2, 5) + "\n" + request(3, "get", "a") + "\n" +
              request(4, "get", "slow") + "\n[" + set(5, 6) + "," + request(6, "get", "a") + "]\n" +
              request(7, "get", "a") + "\n");
  EXPECT_EQ(next_lines(client, 6), (lines{result(1, R"("a":1)"), result(2, ""),
                                          result(3, R"("a":5)"), result(4, R"("slow":"s")"),
                                          "[" + result(5, "") + "," + result(6, R"("a":6)") + "]",
                                          result(7, R"("a":6)")}));
}

TEST_F(server_test, thousands_of_requests_in_one_go) {
  float_value::create(db, "a", 0);
  auto client = connect();
  std::string all;
  lines expected;
  for (int i = 0; i < 3000; ++i) {
    const bool writes = i % 7 == 0;
    all +=
        writes ? request(i, "set", "a", fmt::format(R"(,"value":{})", i)) : request(i, "get", "a");
    all += '\n';
    expected.push_back(writes ? result(i, "") : result(i, fmt::format(R"("a":{})", i - i % 7)));
  }
  client.send(all);
  EXPECT_EQ(next_lines(client, expected.size()), expected);
}

TEST_F(server_test, the_first_event_follows_the_answer) {
  const auto a = float_value::create(db, "a", 1);
  auto client = connect();
  EXPECT_EQ(client.ask(request(1, "subscribe", "a")), result(1, R"("a":1)"));
  EXPECT_EQ(client.line(), event("a", "1"));
  a->update(2);
  EXPECT_EQ(client.line(), event("a", "2"));
  // In a batch the events wait for its line.
  float_value::create(db, "b", 3);
  EXPECT_EQ(
      client.ask('[' + request(2, "subscribe", "b") + ',' + request(3, "subscribe", "a") + ']'),
      '[' + result(2, R"("b":3)") + ',' + result(3, R"("a":2)") + ']');
  EXPECT_EQ(next_lines(client, 2), (lines{event("b", "3"), event("a", "2")}));
  EXPECT_EQ(client.ask(request(4, "unsubscribe", "a")), result(4, ""));
  a->update(9);
  EXPECT_FALSE(a->has_subscribers());
  EXPECT_EQ(client.ask(request(5, "get", "a")), result(5, R"("a":9)"));
}

TEST_F(server_test, a_subscription_follows_its_path) {
  float_value::create(db, "a", 1);
  auto client = connect();
  client.ask(request(1, "subscribe", "a"));
  client.line();
  const auto successor = float_value::create(db, "a", 5);
  EXPECT_EQ(client.line(), event("a", "5"));
  successor->update(6);
  EXPECT_EQ(client.line(), event("a", "6"));
  db.remove_node("a");
  EXPECT_EQ(client.line(),
            R"({"jsonrpc":"2.0","method":"ended","params":{"path":"a","reason":"removed"}})");
}

TEST_F(server_test, a_pattern_covers_what_comes_later) {
  float_value::create(db, "ch/1/power", 1);
  read_value::create(db, "ch/1/name", [] { return "x"; });
  auto client = connect();
  EXPECT_EQ(client.ask(request(1, "subscribe", "ch/**")),
            result(1, R"("ch/1/name":{"code":-22,"message":"Not subscribable: ch/1/name"},)"
                      R"("ch/1/power":1)"));
  EXPECT_EQ(client.line(), event("ch/1/power", "1"));
  const auto second = float_value::create(db, "ch/2/power", 2);
  EXPECT_EQ(client.line(), event("ch/2/power", "2"));
  second->update(3);
  EXPECT_EQ(client.line(), event("ch/2/power", "3"));
  // Gone and back again, as a channel that is removed and added.
  db.remove_node("ch/2/power");
  EXPECT_EQ(
      client.line(),
      R"({"jsonrpc":"2.0","method":"ended","params":{"path":"ch/2/power","reason":"removed"}})");
  const auto third = float_value::create(db, "ch/2/power", 4);
  EXPECT_EQ(client.line(), event("ch/2/power", "4"));
  // A path subscribed by itself stays when the pattern ends.
  client.ask(request(2, "subscribe", "ch/1/power"));
  client.line();
  client.ask(request(3, "unsubscribe", "*/1/**"));
  client.ask(request(4, "unsubscribe", "ch/**"));
  EXPECT_FALSE(third->has_subscribers());
}

TEST_F(server_test, hostile_lines_cost_their_sender_an_answer) {
  read_value::create(db, "a", [] { return "x"; });
  auto client = connect();
  const auto error = [](int code, const std::string& text) {
    return fmt::format(R"({{"jsonrpc":"2.0","id":null,"error":{{"code":{},"message":"{}"}}}})",
                       code, text);
  };
  EXPECT_EQ(client.ask(std::string(10 * 1024 * 1024, '[')),
            error(-32700, "Line longer than 1048576 bytes"));
  EXPECT_EQ(client.ask(std::string(10000, '[')),
            error(-32700, "Parse error: nested deeper than 64 levels"));
  std::string batch = "[0";
  for (int i = 1; i < 100000; ++i)
    batch += ",0";
  EXPECT_EQ(client.ask(batch + ']'),
            error(-32600, "Invalid request: a batch of 100000, the limit is 1000 requests"));
  EXPECT_EQ(client.ask("{\"\xff\":1}"), error(-32700, "Parse error: Not UTF-8 at byte 2"));
  EXPECT_EQ(client.ask(request(1, "get", "a")), result(1, R"("a":"x")"));
  // A client that only ever asks is slowed down, not served into memory: it gets every answer.
  std::string all;
  for (int i = 0; i < 20000; ++i)
    all += request(i, "info", "a") + '\n';
  std::thread sender([&] { client.send(all); });
  auto other = connect();
  EXPECT_EQ(other.ask(request(1, "get", "a")), result(1, R"("a":"x")"));
  for (int i = 0; i < 20000; ++i)
    ASSERT_EQ(client.line(), result(i, R"("a":{})"));
  sender.join();
}

TEST_F(server_test, a_subscriber_that_never_reads_gets_the_newest_values) {
  std::vector<std::shared_ptr<float_value>> values;
  for (int i = 0; i < 20; ++i)
    values.push_back(float_value::create(db, fmt::format("v/{}", i), 0));
  auto slow = connect();
  slow.ask(request(1, "subscribe", "v/*"));
  auto other = connect();
  constexpr int rounds = 5000;
  for (int round = 1; round <= rounds; ++round) {
    for (const auto& value : values)
      value->update(static_cast<float>(round));
    if (round % 1000 == 0) {
      EXPECT_EQ(other.ask(request(round, "get", "v/3")),
                result(round, fmt::format(R"("v/3":{})", round)));
    }
  }
  // 100,000 events were published; those that come fit the socket's buffer and one merged set.
  std::vector<std::string> newest(values.size());
  std::size_t received = 0;
  const std::string last = fmt::format("\"value\":{}}}}}", rounds);
  std::size_t complete = 0;
  while (complete < values.size()) {
    const auto line = slow.line();
    ASSERT_TRUE(line != "nothing" && line != "closed") << received;
    received += line.size();
    if (line.find(last) != line.npos) ++complete;
  }
  EXPECT_LT(received, 5U * 1024 * 1024);
}

TEST_F(server_test, output_beyond_the_limit_ends_the_session) {
  captured_log log;
  std::vector<std::shared_ptr<float_value>> values;
  for (int i = 0; i < 100; ++i)
    values.push_back(float_value::create(db, fmt::format("v/{}", i), 0));
  auto slow = connect();
  slow.ask(request(1, "subscribe", "v/*"));
  for (const auto& value : values)
    value->fail(std::string(100000, 'x'));
  while (slow.line() != "closed") {
  }
  EXPECT_EQ(log.count("more than 8388608 bytes of output wait for it"), 1);
  auto other = connect();
  EXPECT_EQ(other.ask(request(2, "get", "none/**")), result(2, ""));
  EXPECT_FALSE(values[0]->has_subscribers());
}

TEST_F(server_test, a_stuck_session_is_closed) {
  captured_log log;
  server->set_stuck_limit(std::chrono::milliseconds(50));
  const auto value = float_value::create(db, "v", 0);
  auto slow = connect();
  slow.ask(request(1, "subscribe", "v"));
  while (value->has_subscribers())
    value->fail(std::string(10000, 'x'));
  // A publisher may drop the session between its closing and its record.
  log.wait_for(1);
  EXPECT_EQ(log.count("it has taken no output for 0.05 s"), 1);
}

TEST_F(server_test, a_setter_that_waits_holds_up_its_own_session) {
  gate door;
  command_node::create(db, "wait", [&](const nx::json_document&) {
    door.pass();
    return true;
  });
  const auto a = float_value::create(db, "a", 1);
  std::vector<raw_client> waiting;
  for (int i = 0; i < 20; ++i) {
    waiting.push_back(connect());
    waiting.back().send(request(1, "subscribe", "a") + '\n' +
                        request(2, "run", "wait", R"(,"args":[])") + '\n' + request(3, "get", "a") +
                        '\n');
  }
  door.wait_for_arrivals(20);
  auto other = connect();
  EXPECT_EQ(other.ask(request(1, "set", "a", R"(,"value":2)")), result(1, ""));
  // Events reach the sessions meanwhile; their later requests wait.
  for (auto& client : waiting) {
    EXPECT_EQ(next_lines(client, 3),
              (lines{result(1, R"("a":1)"), event("a", "1"), event("a", "2")}));
  }
  door.open();
  for (auto& client : waiting) {
    EXPECT_EQ(next_lines(client, 2), (lines{result(2, R"("wait":true)"), result(3, R"("a":2)")}));
  }
}

TEST_F(server_test, the_end_waits_for_what_is_executed) {
  gate door;
  std::atomic<bool> done{false};
  command_node::create(db, "wait", [&](const nx::json_document&) {
    door.pass();
    done = true;
    return true;
  });
  auto client = connect();
  client.send(request(1, "run", "wait", R"(,"args":[])") + '\n');
  door.wait_for_arrivals(1);
  std::thread opener([&] {
    EXPECT_EQ(client.line(), "closed");
    door.open();
  });
  server.reset();
  EXPECT_TRUE(done);
  opener.join();
}

TEST_F(server_test, a_client_that_sends_no_more_still_gets_its_answers) {
  const auto a = float_value::create(db, "a", 1);
  auto client = connect();
  client.send(request(1, "set", "a", R"(,"value":2)") + '\n' + request(2, "get", "a") + '\n');
  client.end_sending();
  EXPECT_EQ(next_lines(client, 3), (lines{result(1, ""), result(2, R"("a":2)"), "closed"}));
}

TEST_F(server_test, sessions_are_limited) {
  std::vector<raw_client> clients;
  for (int i = 0; i < 256; ++i) {
    clients.push_back(connect());
    ASSERT_EQ(clients.back().ask(request(1, "get", "*")), result(1, ""));
  }
  auto refused = connect();
  EXPECT_EQ(
      next_lines(refused, 2),
      (lines{
          R"({"jsonrpc":"2.0","id":null,"error":{"code":-105,"message":"More than 256 sessions"}})",
          "closed"}));
  clients.pop_back();
  std::string answer;
  do {  // the server has to notice first
    answer = connect().ask(request(1, "get", "*"));
  } while (answer.find("-105") != answer.npos);
  EXPECT_EQ(answer, result(1, ""));
}

TEST_F(server_test, plays_dead_as_it_is_told) {
  const auto a = float_value::create(db, "a", 1);
  auto client = connect();
  client.ask(request(1, "subscribe", "a"));
  client.line();
  server->drop_subscriptions("a");
  EXPECT_EQ(client.line(),
            R"({"jsonrpc":"2.0","method":"ended","params":{"path":"a","reason":"dropped"}})");
  EXPECT_FALSE(a->has_subscribers());
  client.ask(request(2, "subscribe", "a"));
  client.line();

  server->set_fault(nx::server_fault::hung);
  client.send(request(3, "get", "a") + '\n');
  a->update(2);
  EXPECT_FALSE(client.has_line(50));
  server->set_fault(nx::server_fault::none);
  EXPECT_EQ(client.line(), event("a", "2"));
  EXPECT_EQ(client.ask(request(4, "get", "a")), result(4, R"("a":2)"));

  server->set_fault(nx::server_fault::refusing);
  EXPECT_EQ(client.line(), "closed");
  EXPECT_EQ(connect().line(), "closed");
  server->set_fault(nx::server_fault::none);
  EXPECT_EQ(connect().ask(request(5, "get", "a")), result(5, R"("a":2)"));
}

// Nodes are published, replaced and subscribed from many threads at once; run under the thread
// sanitizer this is the test of the lock order.
TEST_F(server_test, churn) {
  std::atomic<bool> running{true};
  std::mutex plan;  // held while nodes are added, as the loops hold theirs
  for (int i = 0; i < 8; ++i)
    float_value::create(db, fmt::format("n/{}", i), 0);
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int i = 0; running; ++i) {
      const std::lock_guard lock(plan);
      const auto path = fmt::format("n/{}", i % 8);
      if (i % 3 == 0) db.remove_node(path);
      float_value::create(db, path, static_cast<float>(i));
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; running; ++i) {
      const auto node = std::dynamic_pointer_cast<float_value>(db.find(fmt::format("n/{}", i % 8)));
      if (node) node->update(static_cast<float>(i));
    }
  });
  for (int n = 0; n < 3; ++n) {
    threads.emplace_back([&, n] {
      for (int i = 0; i < 100; ++i) {
        auto client = connect();
        client.send(request(1, "subscribe", n == 0 ? "n/*" : "n/3") + '\n' +
                    request(2, "set", "n/3", R"(,"value":1)") + '\n' +
                    request(3, "unsubscribe", "n/*") + '\n' + request(4, "get", "n/**") + '\n');
        for (std::string line; line.find(R"("id":4)") == line.npos; line = client.line()) {
          ASSERT_TRUE(line != "nothing" && line != "closed");
        }
      }
    });
  }
  for (std::size_t i = 2; i < threads.size(); ++i)
    threads[i].join();
  running = false;
  threads[0].join();
  threads[1].join();
}

}  // namespace
