// The protocol over real sockets: order, events, slow and hostile clients.
#include "platform/nexel_client/nexel_client.h"
#include "tests/unit/platform/server_fixture.h"

namespace {

using lines = std::vector<std::string>;

TEST_F(server_test, answers_come_in_the_order_of_the_requests) {
  value_node::create(db, "a", "1");
  read_node::create(
      db, "slow", [] { return "s"; }, true);
  const auto client = connect();
  const auto set = [](int id, int value) {
    return request(id, "set", "a", fmt::format(R"(,"value":{})", value));
  };
  client.send(request(1, "get", "a") + "\r\n\n" + set(2, 5) + "\n" + request(3, "get", "a") + "\n" +
              request(4, "get", "slow") + "\n[" + set(5, 6) + "," + request(6, "get", "a") + "]\n" +
              request(7, "get", "a") + "\n");
  EXPECT_EQ(client.lines(6), (lines{result(1, R"("a":1)"), result(2, ""), result(3, R"("a":5)"),
                                    result(4, R"("slow":"s")"),
                                    "[" + result(5, "") + "," + result(6, R"("a":6)") + "]",
                                    result(7, R"("a":6)")}));
}

TEST_F(server_test, the_first_event_follows_the_answer) {
  const auto a = value_node::create(db, "a", "1");
  const auto client = connect();
  EXPECT_EQ(client.ask(request(1, "subscribe", "a")), result(1, R"("a":1)"));
  EXPECT_EQ(client.line(), event("a", "1"));
  a->update("2");
  EXPECT_EQ(client.line(), event("a", "2"));
  // In a batch the events wait for its line.
  value_node::create(db, "b", "3");
  EXPECT_EQ(
      client.ask('[' + request(2, "subscribe", "b") + ',' + request(3, "subscribe", "a") + ']'),
      '[' + result(2, R"("b":3)") + ',' + result(3, R"("a":2)") + ']');
  EXPECT_EQ(client.lines(2), (lines{event("b", "3"), event("a", "2")}));
  EXPECT_EQ(client.ask(request(4, "unsubscribe", "a")), result(4, ""));
  a->update("9");
  EXPECT_FALSE(a->has_subscribers());
  EXPECT_EQ(client.ask(request(5, "get", "a")), result(5, R"("a":9)"));
}

TEST_F(server_test, an_event_follows_the_answers_that_are_older) {
  value_node::create(db, "a", "1");
  const auto other = connect();
  other.ask(request(1, "subscribe", "a"));
  other.line();
  const auto client = connect();
  client.ask(request(1, "subscribe", "a"));
  client.line();
  client.send(request(2, "get", "a") + '\n' + request(3, "set", "a", R"(,"value":2)") + '\n' +
              request(4, "reset", "a") + '\n');
  EXPECT_EQ(client.lines(5), (lines{result(2, R"("a":1)"), result(3, ""), result(4, ""),
                                    event("a", "2"), event("a", "0")}));
  EXPECT_EQ(other.lines(2), (lines{event("a", "2"), event("a", "0")}));
}

TEST_F(server_test, a_pattern_covers_what_comes_later) {
  value_node::create(db, "ch/1/power", "1");
  read_node::create(db, "ch/1/name", [] { return "x"; });
  const auto client = connect();
  // What cannot be subscribed to is left out.
  EXPECT_EQ(client.ask(request(1, "subscribe", "ch/**")), result(1, R"("ch/1/power":1)"));
  EXPECT_EQ(client.line(), event("ch/1/power", "1"));
  const auto second = value_node::create(db, "ch/2/power", "2");
  EXPECT_EQ(client.line(), event("ch/2/power", "2"));
  second->update("3");
  EXPECT_EQ(client.line(), event("ch/2/power", "3"));
  // Gone and back again, as a channel that is removed and added.
  db.remove_node("ch/2/power");
  EXPECT_EQ(client.line(), ended("ch/2/power", "removed"));
  const auto third = value_node::create(db, "ch/2/power", "4");
  EXPECT_EQ(client.line(), event("ch/2/power", "4"));
  // A path subscribed by itself stays when the pattern ends.
  client.ask(request(2, "subscribe", "ch/1/power"));
  client.line();
  client.ask(request(3, "unsubscribe", "*/1/**"));
  client.ask(request(4, "unsubscribe", "ch/**"));
  EXPECT_FALSE(third->has_subscribers());
}

// It is slowed down, not served into memory, and gets every answer.
TEST_F(server_test, a_client_that_only_ever_asks_holds_up_nobody) {
  read_node::create(db, "a", [] { return "x"; });
  const auto client = connect();
  EXPECT_EQ(client.ask(std::string(10 * 1024 * 1024, '[')),
            R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,)"
            R"("message":"Line longer than 1048576 bytes"}})");
  std::string all;
  for (int i = 0; i < 20000; ++i)
    all += request(i, "info", "a") + '\n';
  std::thread sender([&] { client.send(all); });
  EXPECT_EQ(connect().ask(request(1, "get", "a")), result(1, R"("a":"x")"));
  for (int i = 0; i < 20000; ++i)
    ASSERT_EQ(client.line(), result(i, R"("a":{})"));
  sender.join();
}

TEST_F(server_test, a_subscriber_that_never_reads_gets_the_newest_values) {
  const auto values = add_values(20);
  const auto slow = connect();
  slow.ask(request(1, "subscribe", "v/*"));
  const auto other = connect();
  constexpr int rounds = 5000;
  for (int round = 1; round <= rounds; ++round) {
    for (const auto& value : values)
      value->update(std::to_string(round));
    if (round % 1000 == 0) {
      EXPECT_EQ(other.ask(request(round, "get", "v/3")),
                result(round, fmt::format(R"("v/3":{})", round)));
    }
  }
  // 100,000 events were published; those that come fit the socket's buffer and one merged set.
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
  const test::log_capture log;
  const auto values = add_values(100);
  const auto slow = connect();
  slow.ask(request(1, "subscribe", "v/*"));
  for (const auto& value : values)
    value->fail({-61, std::string(100000, 'x')});
  while (slow.line() != "closed") {
  }
  EXPECT_EQ(log.count("more than 8388608 bytes of output wait for it"), 1);
  const auto other = connect();
  // A worker lets go of many subscriptions, beside the one that answers this.
  for (int tries = 0; tries < 500 && values[0]->has_subscribers(); ++tries)
    EXPECT_EQ(other.ask(request(2, "get", "none/**")), result(2, ""));
  EXPECT_FALSE(values[0]->has_subscribers());
}

TEST_F(server_test, a_stuck_session_is_closed) {
  const test::log_capture log;
  server->set_stuck_limit(std::chrono::milliseconds(50));
  const auto value = value_node::create(db, "v", "0");
  const auto slow = connect();
  slow.ask(request(1, "subscribe", "v"));
  while (value->has_subscribers())
    value->fail({-61, std::string(10000, 'x')});
  // A publisher may drop the session between its closing and its record.
  log.wait_for(1);
  EXPECT_EQ(log.count("it has taken no output for 0.05 s"), 1);
}

TEST_F(server_test, a_setter_that_waits_holds_up_its_own_session) {
  gate door;
  add_wait(door);
  const auto a = value_node::create(db, "a", "1");
  std::vector<raw_client> waiting;
  for (int i = 0; i < 20; ++i) {
    waiting.push_back(connect());
    waiting.back().send(request(1, "subscribe", "a") + '\n' + run_wait(2) + request(3, "get", "a") +
                        '\n');
  }
  door.wait_for_arrivals(20);
  const auto other = connect();
  EXPECT_EQ(other.ask(request(1, "set", "a", R"(,"value":2)")), result(1, ""));
  // Events reach the sessions meanwhile; their later requests wait.
  for (auto& client : waiting) {
    EXPECT_EQ(client.lines(3), (lines{result(1, R"("a":1)"), event("a", "1"), event("a", "2")}));
  }
  door.open();
  for (auto& client : waiting) {
    EXPECT_EQ(client.lines(2), (lines{result(2, R"("wait":true)"), result(3, R"("a":2)")}));
  }
}

TEST_F(server_test, the_end_waits_for_what_is_executed) {
  gate door;
  std::atomic<int> done{0};
  add_wait(door, &done);
  const auto client = connect();
  client.send(run_wait(1));
  door.wait_for_arrivals(1);
  std::thread opener([&] {
    EXPECT_EQ(client.line(), "closed");
    door.open();
  });
  server.reset();
  EXPECT_EQ(done, 1);
  opener.join();
}

TEST_F(server_test, a_refused_subscription_leaves_nothing_behind) {
  const auto values = add_values(100);
  const auto client = connect();
  client.ask(request(1, "subscribe", "v/3"));
  client.line();
  // The answer has room, but not with the first events behind it.
  for (const auto& value : values)
    value->update('"' + std::string(60000, 'x') + '"');
  client.line();
  EXPECT_EQ(client.ask(request(2, "subscribe", "v/*")),
            R"({"jsonrpc":"2.0","id":2,"error":{"code":-32600,)"
            R"("message":"Invalid request: its answer is longer than 8388608 bytes"}})");
  EXPECT_FALSE(values[5]->has_subscribers());
  value_node::create(db, "v/later", "1");
  // What was subscribed before goes on, and so does the session.
  client.line();
  values[3]->update("7");
  EXPECT_EQ(client.line(), event("v/3", "7"));
  EXPECT_EQ(client.ask(request(3, "get", "v/3")), result(3, R"("v/3":7)"));
}

TEST_F(server_test, the_supervisory_link_has_its_own_few_sessions) {
  value_node::create(db, "a", "1");
  const auto port = server->start_tcp_socket("::1", 0, true);  // a port that is free
  server = nullptr;
  const test::log_capture log;
  serve_at(socket_path);
  server->start_ipv6_socket("lo", port);
  log.wait_for(1);
  const auto refusal = [](const std::string& text) {
    return R"({"jsonrpc":"2.0","id":null,"error":{"code":-105,"message":")" + text + R"("}})";
  };
  std::vector<raw_client> link;
  const auto get = request(1, "get", "a");
  for (int i = 0; i < 15; ++i) {
    link.push_back(connect_tcp(port));
    ASSERT_EQ(link.back().ask(get), result(1, R"("a":1)")) << i;
  }
  EXPECT_EQ(connect_tcp(port).line(),
            refusal("More than 15 sessions on the link, 1 more is for the neighbour"));
  EXPECT_EQ(connect().ask(get), result(1, R"("a":1)"));  // the local side has its own places
  // Whom this process talks to itself is the neighbour.
  const auto peer = nexel_ipv6_client::create(runtime.io_context(), "lo", "::1", port, "peer", {});
  EXPECT_EQ(peer->get<int>("a"), 1);
  EXPECT_EQ(connect_tcp(port).line(), refusal("More than 16 sessions on the link"));
  // A session that asks for nothing goes, one that is subscribed stays.
  link.erase(link.begin() + 1, link.end());
  const auto subscribed = [&] {
    for (;;) {
      auto client = connect_tcp(port);
      try {
        if (client.ask(request(2, "subscribe", "a")) == result(2, R"("a":1)")) return client;
      } catch (const nx_client_exception&) {
        // Refused for as long as the server has not seen the others go.
      }
    }
  }();
  subscribed.line();
  server->set_silent_limit(std::chrono::milliseconds(40));
  EXPECT_EQ(link.front().line(), "closed");
  EXPECT_EQ(subscribed.ask(get), result(1, R"("a":1)"));
  // Nor do idle ones from the neighbour's address keep it out; the oldest of them stays.
  std::vector<raw_client> idle;
  for (int i = 0; i < 15; ++i) {
    idle.push_back(connect_tcp(port));
    idle.back().ask(request(2, "subscribe", "a"));
    idle.back().line();
  }
  std::string answer;
  for (int tries = 0; tries < 500 && answer != result(1, R"("a":1)"); ++tries)
    answer = connect_tcp(port).ask(get);
  EXPECT_EQ(answer, result(1, R"("a":1)"));
  EXPECT_EQ(idle.front().line(), "closed");
  EXPECT_EQ(subscribed.ask(get), result(1, R"("a":1)"));
  // Of busy ones one that only asks makes room, before the one that is subscribed.
  idle.clear();
  server->set_silent_limit(std::chrono::milliseconds(600));
  std::vector<raw_client> asking;
  while (asking.size() < 15) {
    auto next = connect_tcp(port);
    if (next.ask(get) == result(1, R"("a":1)")) asking.push_back(std::move(next));
  }
  answer.clear();
  for (int tries = 0; tries < 5000 && answer != result(1, R"("a":1)"); ++tries) {
    for (const auto& one : asking)
      one.ask(get);
    answer = connect_tcp(port).ask(get);
  }
  EXPECT_EQ(answer, result(1, R"("a":1)"));
  EXPECT_EQ(subscribed.ask(get), result(1, R"("a":1)"));
}

// Nodes are published, replaced and subscribed from many threads at once; run under the thread
// sanitizer this is the test of the lock order.
TEST_F(server_test, churn) {
  std::atomic<bool> running{true};
  std::mutex plan;  // held while nodes are added, as the loops hold theirs
  for (int i = 0; i < 8; ++i)
    value_node::create(db, fmt::format("n/{}", i), "0");
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int i = 0; running; ++i) {
      const std::lock_guard lock(plan);
      const auto name = fmt::format("n/{}", i % 8);
      if (i % 3 == 0) db.remove_node(name);
      value_node::create(db, name, std::to_string(i));
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; running; ++i) {
      const auto node = std::dynamic_pointer_cast<value_node>(db.find(fmt::format("n/{}", i % 8)));
      if (node) node->update(std::to_string(i));
    }
  });
  for (int n = 0; n < 3; ++n) {
    threads.emplace_back([&, n] {
      for (int i = 0; i < 100; ++i) {
        const auto client = connect();
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
