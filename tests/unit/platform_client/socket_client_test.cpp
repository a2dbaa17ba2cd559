// The socket client with a server that misbehaves as each test says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <optional>

#include "platform/wire/limits.h"
#include "scripted_server.h"
#include "tests/support/environment.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace client_test {

using testing::ElementsAre;
using testing::HasSubstr;
using clock = std::chrono::steady_clock;

class socket_client : public testing::Test {
 protected:
  ~socket_client() override {
    work.reset();
    io->stop();
    thread.join();
  }

  std::shared_ptr<nexel_client_api> connect(
      std::weak_ptr<nexel_connection_subscriber> receiver = {}) {
    return nexel_client::create(io, path, "nexel", std::move(receiver));
  }

  /// Sends the read and leaves its outcome to the journal.
  void send_noting(nexel_client_api& client) {
    auto request = std::make_shared<nexel_read_request>();
    request->add_object(std::make_shared<noting_read>(read_path, events));
    client.server_call(request);
  }

  std::shared_ptr<noting_subscriber> subscribe(nexel_client_api& client, const std::string& to) {
    auto subscriber = std::make_shared<noting_subscriber>(to, events);
    client.add_subscriber(subscriber);
    return subscriber;
  }

  const std::string read_path = "data/power";
  test::temp_folder folder;
  const std::string path = folder.file("nexel");
  journal events;
  std::shared_ptr<boost::asio::io_context> io = std::make_shared<boost::asio::io_context>();
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work =
      boost::asio::make_work_guard(*io);
  std::thread thread{[io = io] { io->run(); }};
};

TEST_F(socket_client, without_a_nexel_calls_fail_and_cannot_spin) {
  const test::environment_variable root("NX_ROOT", folder.path());
  auto client = nexel_client::create(io, "/run/nexel", "nexel", {});
  const auto begin = clock::now();
  for (int call = 0; call < 4; ++call) {
    const auto error = failure_of([&] { client->get<int>("data/power"); });
    EXPECT_EQ(error.code, -107);
    EXPECT_EQ(error.message, "Not connected: " + folder.path() + "/run/nexel");
  }
  EXPECT_GE(clock::now() - begin, 300ms);
}

TEST_F(socket_client, without_a_call_it_connects_by_itself) {
  auto receiver = std::make_shared<noting_connection>(events);
  const test::log_capture log;
  auto client = connect(receiver);
  const auto subscriber = subscribe(*client, "data/power");
  ASSERT_TRUE(log.comes("Not connected: "));
  {
    scripted_server server(path);
    EXPECT_TRUE(events.await("established nexel"));
    EXPECT_TRUE(server.seen.await("subscribe data/power"));
  }
  // Once an outage: when it begins, and not with every attempt.
  EXPECT_THAT(log.wait_for(4), ElementsAre(HasSubstr("Not connected"), HasSubstr("Connected to"),
                                           HasSubstr(" lost: "), HasSubstr("Not connected")));
}

TEST_F(socket_client, a_refusal_in_words_does_not_bring_it_back_sooner) {
  scripted_server server(path, [](const auto&) {
    return R"({"jsonrpc":"2.0","id":null,"error":{"code":-105,"message":"full"}})"
           "\n";
  });
  auto client = connect();
  const auto subscriber = subscribe(*client, "a");
  ASSERT_TRUE(server.seen.await("subscribe a"));
  const auto begin = clock::now();
  for (std::size_t attempt = 2; attempt <= 6; ++attempt) {
    server.drop_connection();
    ASSERT_TRUE(server.seen.await("subscribe a", attempt));
  }
  EXPECT_GE(clock::now() - begin, 1s) << "the pauses do not double";
}

TEST_F(socket_client, silence_costs_one_time_out_and_one_probe_a_second) {
  scripted_server server(path, scripted_server::silence);
  auto client = connect();
  const auto read = [&] { return failure_of([&] { client->get<int>("data/power"); }).code; };
  const auto begin = clock::now();
  EXPECT_EQ(read(), -110);
  EXPECT_GE(clock::now() - begin, 2s);
  // Whoever calls now fails at once, and nobody has to call for the nexel to be asked.
  for (int call = 0; call < 100; ++call)
    EXPECT_EQ(read(), -110);
  ASSERT_TRUE(server.seen.await("list ", 2)) << "the second probe";
  EXPECT_GE(clock::now() - begin, 4s);
  EXPECT_EQ(server.seen.count("get data/power"), 1u) << "no call beside the probes";
  server.set_script(scripted_server::answer);
  ASSERT_TRUE(server.seen.await("list ", 3));
  const auto answered = clock::now();
  while (read() != 0)
    ASSERT_LT(clock::now() - answered, 10s);
}

TEST_F(socket_client, loss_fails_calls_then_tells_subscribers_then_raises_the_event) {
  scripted_server server(path, [](const nx::json_value& request) {
    return request["method"] == "subscribe" ? scripted_server::answer(request) : "";
  });
  auto receiver = std::make_shared<noting_connection>(events);
  auto client = connect(receiver);
  std::vector<std::shared_ptr<noting_subscriber>> subscribers;
  for (const char* one : {"a", "b", "b"}) {
    subscribers.push_back(subscribe(*client, one));
  }
  send_noting(*client);
  send_noting(*client);
  ASSERT_TRUE(server.seen.await("get data/power", 2));
  ASSERT_TRUE(events.await("established nexel"));
  server.drop_connection();
  ASSERT_TRUE(events.await("lost nexel"));
  const auto all = events.entries();
  ASSERT_GE(all.size(), 7u);
  EXPECT_THAT(std::vector(all.begin(), all.begin() + 7),
              ElementsAre("established nexel", "call ! -107", "call ! -107", "a ! -107", "b ! -107",
                          "b ! -107", "lost nexel"));
}

/// Takes a lock that its user holds across calls, as the peer's connection does.
class locking_connection : public noting_connection {
 public:
  using noting_connection::noting_connection;
  void connection_lost_event(const std::string& name) override {
    to_.note("losing " + name);
    std::lock_guard lock(mutex);
    client.reset();
    noting_connection::connection_lost_event(name);
  }
  std::mutex mutex;
  std::shared_ptr<nexel_client_api> client;
};

TEST_F(socket_client, lost_event_may_wait_for_a_lock_that_is_held_across_a_call) {
  scripted_server server(path, scripted_server::silence);
  auto receiver = std::make_shared<locking_connection>(events);
  {
    std::lock_guard lock(receiver->mutex);
    receiver->client = connect(receiver);
    std::thread dropper([&] {
      server.seen.await("get data/power");
      server.drop_connection();
    });
    EXPECT_EQ(failure_of([&] { receiver->client->get<int>("data/power"); }).code, -107);
    dropper.join();
  }
  ASSERT_TRUE(events.await("lost nexel"));
}

TEST_F(socket_client, no_event_of_a_client_that_is_gone) {
  const std::string held_path = folder.file("held");
  scripted_server server(path), held_server(held_path);
  auto holder = std::make_shared<locking_connection>(events);
  auto receiver = std::make_shared<noting_connection>(events);
  auto held = nexel_client::create(io, held_path, "held", holder);
  auto client = connect(receiver);
  const auto subscriber = subscribe(*client, "a");
  ASSERT_TRUE(events.await("established held"));
  ASSERT_TRUE(events.await("established nexel"));
  // A connection is established before its server has taken it up, and only then can be dropped.
  ASSERT_TRUE(held_server.seen.await("connected"));
  ASSERT_TRUE(server.seen.await("connected"));
  {
    std::lock_guard lock(holder->mutex);
    held_server.drop_connection();
    ASSERT_TRUE(events.await("losing held"));
    server.drop_connection();  // its event queues behind the other
    ASSERT_TRUE(events.await("a ! -107"));
    client.reset();
  }
  auto last = nexel_client::create(io, path, "last", receiver);
  ASSERT_TRUE(events.await("established last"));
  EXPECT_EQ(events.count("lost nexel"), 0u);
}

TEST_F(socket_client, dropped_with_calls_pending_it_fails_them) {
  scripted_server server(path, scripted_server::silence);
  auto client = connect();
  send_noting(*client);
  ASSERT_TRUE(server.seen.await("get data/power"));
  client.reset();
  EXPECT_TRUE(events.await("call ! -107", 1, 1500ms)) << "not by its time-out";
}

class dropping_subscriber : public noting_subscriber {
 public:
  using noting_subscriber::noting_subscriber;
  void send_changed_value_event(std::string_view path, const nx::json_value& value) override {
    client.reset();
    noting_subscriber::send_changed_value_event(path, value);
  }
  std::shared_ptr<nexel_client_api> client;
};

std::string event(const std::string& path, const std::string& member) {
  return R"({"jsonrpc":"2.0","method":"event","params":{"path":")" + path + "\"," + member + "}}\n";
}

TEST_F(socket_client, may_be_dropped_on_the_io_thread) {
  scripted_server server(path);
  auto subscriber = std::make_shared<dropping_subscriber>("a", events);
  subscriber->client = connect();
  subscriber->client->add_subscriber(subscriber);
  ASSERT_TRUE(server.seen.await("subscribe a"));
  server.send(event("a", R"("value":1)") + event("a", R"("value":2)"));
  EXPECT_TRUE(events.await("a = 1"));
}

TEST_F(socket_client, after_the_io_context_has_stopped_calls_fail) {
  auto stopped = std::make_shared<boost::asio::io_context>();
  auto client = nexel_client::create(stopped, path, "nexel", {});
  send_noting(*client);
  stopped->stop();
  EXPECT_EQ(failure_of([&] { client->get<int>("data/power"); }).code, -107);
  client.reset();
  stopped.reset();
  EXPECT_EQ(events.count("call ! -107"), 1u);

  scripted_server silent(path, scripted_server::silence);
  auto pending = connect();
  std::thread stopper([&] {
    silent.seen.await("get a/path/that/ends/with/its/caller");
    io->stop();
  });
  EXPECT_EQ(failure_of([&] { pending->get<int>("a/path/that/ends/with/its/caller"); }).code, -107);
  stopper.join();
}

TEST_F(socket_client, many_threads_get_their_own_answers) {
  scripted_server server(path, [](const nx::json_value& request) {
    const std::string asked = request["params"]["path"].GetString();
    return scripted_server::result(request, "{\"" + asked + "\":" + asked + "}");
  });
  auto client = connect();
  std::vector<std::thread> callers;
  std::atomic<int> wrong{0};
  for (int caller = 0; caller < 6; ++caller) {
    callers.emplace_back([&, caller] {
      for (int call = 0; call < 100; ++call) {
        const int number = caller * 1000 + call;
        if (client->get<int>(std::to_string(number)) != number) ++wrong;
      }
    });
  }
  for (auto& caller : callers)
    caller.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(socket_client, bears_what_the_other_end_may_send) {
  scripted_server server(path);
  const test::log_capture log;
  auto client = connect();
  const auto subscriber = subscribe(*client, "a");
  ASSERT_TRUE(server.seen.await("subscribe a"));
  const std::string too_long(nx::limits::output_bytes_per_session + 1, 'x');
  server.send("no json\n\r\n[]\n7\n{}\n{\"id\":null,\"error\":{}}\n{\"id\":\"x\",\"result\":1}\n" +
              too_long + "\n{\"method\":\"event\"}\n{\"method\":7,\"params\":[]}\n" +
              event("b", R"("value":1)") + event("a", R"("time":"")") + event("a", R"("error":7)") +
              event("a", R"("value":{"x":[]})"));
  EXPECT_TRUE(events.await(R"(a = {"x":[]})"));
  EXPECT_EQ(log.count("sends no JSON") + log.count("without an id"), 1) << "once a connection";
  EXPECT_THAT(events.entries(), ElementsAre("a ! -1", R"(a = {"x":[]})"));
  // The form in which servers write an event takes a short way, and what only looks like it the
  // long one.
  server.send(event("b", R"("time":"","value":1)") + event("a", R"("time":"","value":)") +
              event("a", R"("time":"","value":1}})") + event("a", R"("time":"","value":2)") +
              event("a", R"("time":"","value":3,"more":{})") +
              event("a", R"("time":"","value":"\u0034")") +
              event("a", R"("time":"","value":{"x":{}})") + event("a", R"("value":5)"));
  EXPECT_TRUE(events.await("a = 5"));
  EXPECT_THAT(events.entries(), ElementsAre("a ! -1", R"(a = {"x":[]})", "a = 2", "a = 3",
                                            R"(a = "4")", R"(a = {"x":{}})", "a = 5"));
  server.set_script([](const nx::json_value& request) {
    return R"({"jsonrpc":"2.0","id":)" + nx::json_text(request["id"]) + "}\n";
  });
  EXPECT_EQ(failure_of([&] { client->get<int>("a"); }).code, -1);
  server.set_script([](const nx::json_value& request) {
    return scripted_server::result(request, R"({"another":1})");
  });
  EXPECT_EQ(failure_of([&] { client->get<int>("a"); }).code, -22);

  const std::string large(nx::limits::line_bytes, 'x');
  EXPECT_EQ(failure_of([&] { client->set<void>("a", large); }).code, -22) << "never sent";
}

TEST_F(socket_client, subscription_that_the_nexel_drops_ends) {
  scripted_server server(path);
  auto client = connect();
  const auto subscriber = subscribe(*client, "a");
  ASSERT_TRUE(server.seen.await("subscribe a"));
  server.send(R"({"jsonrpc":"2.0","method":"ended","params":{"path":"a","reason":"forgotten"}})"
              "\n" +
              event("a", R"("value":1)"));
  ASSERT_TRUE(events.await("a dropped"));
  const auto next = subscribe(*client, "a");
  EXPECT_TRUE(server.seen.await("subscribe a", 2));
}

TEST_F(socket_client, reaches_an_ipv6_host_with_and_without_an_interface) {
  std::optional<scripted_server> server;
  try {
    server.emplace(scripted_server::answer);
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "no IPv6 here";
  }
  for (const char* interface : {"", "lo"}) {
    auto client = nexel_ipv6_client::create(io, interface, "::1", server->port(), "peer", {});
    EXPECT_EQ(client->get<int>("data/power"), 1) << interface;
  }
  const auto error = failure_of([&] {
    nexel_ipv6_client::create(io, "nowhere0", "fe80::1", 5100, "peer", {})->get<int>("a");
  });
  EXPECT_EQ(error.code, -107);
  EXPECT_EQ(error.message, "Not connected: [fe80::1%nowhere0]:5100");
}

}  // namespace client_test
