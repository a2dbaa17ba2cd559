#include "platform/kvs_client/kvs_client.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <limits>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/board_spec/board_spec_lib.h"
#include "platform/kvs_client/endpoint.h"
#include "tests/support/environment.h"
#include "tests/support/fake_store.h"
#include "tests/support/log_capture.h"
#include "tests/support/private_redis.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace std::literals;
using test::fake_store;
using testing::HasSubstr;

std::string failure_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const kvs_client_exception& failure) {
    return failure.what();
  }
  return "none";
}

TEST(kvs_endpoint, texts_of_the_setting) {
  using kind = kvs::endpoint::kind;
  const std::tuple<std::string, kind, std::string, int> table[] = {
      {"unix:///run/kvs.sock", kind::unix_socket, "/run/kvs.sock", 0},
      {"tcp://127.0.0.1:6400", kind::tcp, "127.0.0.1", 6400},
      {"tcp://store", kind::tcp, "store", 6379},
      {"tcp://[::1]:6400", kind::tcp, "::1", 6400},
      {"memory:", kind::memory, "", 0},
  };
  for (const auto& [url, type, address, port] : table) {
    const auto parsed = kvs::parse_endpoint(url);
    EXPECT_EQ(parsed.type, type) << url;
    EXPECT_EQ(parsed.address, address) << url;
    EXPECT_EQ(parsed.port, port) << url;
  }
  for (const std::string wrong : {"", "unix://relative", "tcp://", "tcp://:1", "tcp://h:0",
                                  "tcp://h:65536", "tcp://h:1x", "tcp://[::1", "redis://h:1"}) {
    EXPECT_THAT(failure_of([&] { kvs::parse_endpoint(wrong); }), HasSubstr("'" + wrong + "'"));
  }
}

TEST(kvs_endpoint, passwords_are_taken_and_never_told) {
  const std::tuple<std::string, std::string, std::string, std::string> table[] = {
      {"tcp://:secret@store:6400", "", "secret", "tcp://:***@store:6400"},
      {"tcp://node:secret@[::1]:6400", "node", "secret", "tcp://node:***@[::1]:6400"},
      {"tcp://:p%40ss%2Fw:%25@store", "", "p@ss/w:%", "tcp://:***@store"},
      {"tcp://:a@b@store", "", "a@b", "tcp://:***@store"},
      {"tcp://store?password=secret", "", "secret", "tcp://store?password=***"},
      {"unix://:secret@/run/kvs.sock", "", "secret", "unix://:***@/run/kvs.sock"},
      {"unix://node:secret@/run/kvs.sock", "node", "secret", "unix://node:***@/run/kvs.sock"},
      {"unix:///run/kvs.sock?password=se%20cret", "", "se cret",
       "unix:///run/kvs.sock?password=***"},
  };
  for (const auto& [url, user, password, shown] : table) {
    const auto login = kvs::parse_endpoint(url).login;
    ASSERT_TRUE(login) << url;
    EXPECT_EQ(login->user, user) << url;
    EXPECT_EQ(login->password, password) << url;
    EXPECT_EQ(kvs::without_password(url), shown);
  }
  EXPECT_EQ(kvs::parse_endpoint("unix:///run/node@1?a/kvs.sock").address, "/run/node@1?a/kvs.sock");
  for (const std::string wrong :
       {"tcp://secret@store", "tcp://:@store", "tcp://:secret%2@store", "tcp://:secret%zz@store",
        "tcp://:secret@store?password=secret", "redis://:secret@store", ":secret@store",
        "unix://:secret@relative", "tcp://:secret@", "unix:///run/kvs.sock?password="}) {
    const auto told = failure_of([&] { kvs::parse_endpoint(wrong); });
    EXPECT_THAT(told, HasSubstr("is not understood")) << wrong;
    EXPECT_THAT(told, testing::Not(HasSubstr("secret"))) << wrong;
  }
}

struct kvs_client_test : testing::Test {
  kvs_client_test() { std::signal(SIGPIPE, SIG_IGN); }

  const test::temp_folder folder;
  test::private_redis store{folder.path()};
  const test::environment_variable url{"KVS_URL", store.url()};
};

TEST_F(kvs_client_test, values_survive_as_they_are) {
  store.start();
  kvs_client client("default", "");
  EXPECT_TRUE(client.ping());
  const auto binary = "a\0b\r\n\xff \"{}\""s;
  for (const std::string& value : {binary, std::string(), std::string(1 << 20, 'x')}) {
    client.set("{tag}:key with blanks", value, 10);
    EXPECT_EQ(client.get<std::string>("{tag}:key with blanks", 10), value);
  }
  EXPECT_EQ(client.get<std::string>("{tag}:absent", 10), "");
  for (const auto& [value, text] :
       {std::pair<float, std::string>{0.2f, "0.2"}, {17.0f, "17"}, {-99.5f, "-99.5"}}) {
    client.set<float>("{tag}:attenuation", value, 10);
    EXPECT_EQ(store.get("{tag}:attenuation"), text);
  }
  EXPECT_THAT(
      failure_of([&] { client.set<float>("k", std::numeric_limits<float>::quiet_NaN(), 10); }),
      HasSubstr("not a finite number"));
}

TEST_F(kvs_client_test, a_ping_and_reads_in_one_exchange_fail_each_by_itself) {
  store.start();
  store.command({"RPUSH", "{tag}:list", "a"});
  store.command({"SET", "{tag}:text", "value"});
  kvs_client client("default", "");
  const auto answers = client.ping_and_get({"{tag}:list", "{tag}:text", "{tag}:absent"}, 10);
  ASSERT_EQ(answers.size(), 4u);
  EXPECT_EQ(answers[0].text, "PONG");
  EXPECT_THAT(answers[1].failure.value_or(""), HasSubstr("get {tag}:list: WRONGTYPE"));
  EXPECT_EQ(answers[2].text, "value");
  EXPECT_EQ(answers[3].text, "");
  EXPECT_FALSE(answers[3].failure);
  EXPECT_THAT(failure_of([&] { client.get<std::string>("{tag}:list", 10); }),
              HasSubstr("WRONGTYPE"));
  EXPECT_EQ(client.get<std::string>("{tag}:text", 10), "value") << "no answer is left over";
  store.stop();
  EXPECT_NE(failure_of([&] { client.ping_and_get({"{tag}:text"}, 10); }), "none");
  EXPECT_THAT(failure_of([&] { client.ping(); }), HasSubstr("is dead"));
}

TEST_F(kvs_client_test, a_lost_store_kills_the_connection_for_good) {
  EXPECT_THAT(failure_of([] { kvs_client("default", "").ping(); }), HasSubstr(store.url()));
  store.start();
  kvs_client client("default", "");
  EXPECT_TRUE(client.ping());
  store.stop();
  EXPECT_NE(failure_of([&] { client.ping(); }), "none");
  store.start();
  EXPECT_THAT(failure_of([&] { client.set("k", std::string("v"), 10); }), HasSubstr("is dead"));
  EXPECT_TRUE(kvs_client("default", "").ping());
}

TEST_F(kvs_client_test, a_store_with_a_password_is_used_with_it_and_tells_without) {
  store.start();
  store.command({"CONFIG", "SET", "requirepass", "open sesame"});
  kvs_client without("default", "");
  const auto refusal = "ping: " + store.url() +
                       ": the store wants a password, KVS_URL has none: NOAUTH Authentication "
                       "required.";
  EXPECT_EQ(failure_of([&] { without.ping(); }), refusal);
  for (int again = 0; again < 2; ++again)
    EXPECT_EQ(failure_of([&] { without.ping_and_get({"a", "b"}, 10); }), refusal);
  {
    const test::environment_variable wrong("KVS_URL", store.url() + "?password=sesame");
    const auto told = failure_of([] { kvs_client("default", "").ping(); });
    EXPECT_THAT(told, HasSubstr("password=***: the store refuses the password: WRONGPASS"));
    EXPECT_THAT(told, testing::Not(HasSubstr("sesame")));
  }
  const test::environment_variable right("KVS_URL", store.url() + "?password=open%20sesame");
  kvs_client client("default", "");
  EXPECT_TRUE(client.ping());
  client.set("{tag}:key", std::string("value"), 10);
  EXPECT_EQ(client.get<std::string>("{tag}:key", 10), "value");
  store.stop();
  EXPECT_THAT(failure_of([&] { client.ping(); }), testing::Not(HasSubstr("sesame")));
}

TEST_F(kvs_client_test, a_store_that_is_loading_says_so_and_is_asked_again) {
  const fake_store loading(folder.file("kvs.sock"), [](int client) {
    for (const char* answer :
         {"-LOADING Redis is loading the dataset in memory\r\n", "+OK\r\n", "+PONG\r\n"})
      if (!fake_store::take(client) || !fake_store::give(client, answer)) return;
  });
  kvs_client client("", "");
  EXPECT_THAT(failure_of([&] { client.ping(); }),
              HasSubstr("the store is loading its data: LOADING Redis"));
  EXPECT_FALSE(client.ping()) << "an answer that is none";
  EXPECT_TRUE(client.ping()) << "the connection has stayed";
}

TEST_F(kvs_client_test, a_store_that_never_answers_costs_the_time_out_once) {
  const fake_store silent(folder.file("kvs.sock"));
  kvs_client client("default", "");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THAT(failure_of([&] { client.get<std::string>("k", 2); }),
              HasSubstr("no answer within 0.2 s"));
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(took, std::chrono::milliseconds(190));
  EXPECT_LT(took, std::chrono::seconds(5));
  EXPECT_THAT(failure_of([&] { client.get<std::string>("k", 600); }), HasSubstr("is dead"));
}

// Stores that answer without end: each costs its command the time-out, or less, and no memory.
TEST_F(kvs_client_test, an_answer_without_end_is_given_up) {
  const std::tuple<const char*, std::string, std::chrono::milliseconds, const char*> table[] = {
      {"a byte at a time", "x", 20ms, "no answer within 0.3 s"},
      {"an endless line", std::string(64 * 1024, 'x'), 0ms, "an answer longer than"},
      {"400 MB", "$400000000\r\n" + std::string(64 * 1024, 'x'), 0ms, "an answer longer than"},
      {"a list of everything", "*2000000000\r\n", 0ms, "unexpected answer"},
  };
  for (const auto& [name, piece, pause, fault] : table) {
    SCOPED_TRACE(name);
    const fake_store talking(folder.file("kvs.sock"), [&piece = piece, pause = pause](int client) {
      if (piece[0] == 'x') fake_store::give(client, "+");
      while (fake_store::give(client, piece))
        std::this_thread::sleep_for(pause);
    });
    kvs_client client("default", "");
    const unsigned limit = pause > 0ms ? 3 : 100;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(failure_of([&, limit] { client.get<std::string>("k", limit); }), HasSubstr(fault));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 8s);
  }
}

TEST(board_spec, reads_numbers_and_falls_back) {
  const test::temp_folder folder;
  const auto preset = [&](const std::string& text) {
    board_spec_lib::instance().load(folder.write("board_spec.conf", text));
    return board_spec_lib::instance().get_voa_preset_default();
  };
  EXPECT_EQ(preset("# board\nvoa_preset_default 7.5\n"), 7.5f);
  EXPECT_EQ(preset("voa_preset_default much\n#voa_preset_default 1\nother 3\n"), 5.0f);
  for (const char* wrong : {"nan", "inf", "-0.1", "25.1", "1e39", ""}) {
    const test::log_capture log;
    EXPECT_EQ(preset(fmt::format("\nvoa_preset_default {}\n", wrong)), 5.0f) << wrong;
    EXPECT_TRUE(log.contains(fmt::format("Refused 'voa_preset_default {}' in line 2 of ", wrong)));
  }
  board_spec_lib::instance().load(folder.file("absent"));
  EXPECT_EQ(board_spec_lib::instance().get_voa_preset_default(), 5.0f);
}

}  // namespace
