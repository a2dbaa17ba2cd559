// Hostile or broken clients on the sockets of a regulating daemon: each gets a clear answer or is
// closed, and neither memory, other clients nor the light suffer.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

// A sanitizer keeps what was freed, so that the figure says nothing there.
constexpr double flat_mib = test::sanitized ? 1e6 : 8.0;

std::string repeated(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i)
    all += text;
  return all;
}

std::string request(const std::string& method, const std::string& params) {
  return fmt::format(R"({{"jsonrpc":"2.0","id":1,"method":"{}","params":{}}})", method, params);
}

struct ill_line {
  const char* name;
  std::string line;
  std::string answered;
};

std::vector<ill_line> ill_lines() {
  const auto good = request("get", R"({"path":"data/configStatus"})");
  return {
      {"no JSON", "GET / HTTP/1.1", "-32700"},
      {"half a message", good.substr(0, good.size() / 2), "-32700"},
      {"10 MB", std::string(10'000'000, 'x'), "Line longer than 1048576 bytes"},
      {"deep nesting", repeated("[", 10'000) + repeated("]", 10'000), "nested deeper than 64"},
      {"a wide batch", '[' + repeated("1,", 99'999) + "1]", "a batch of 100000, the limit is 1000"},
      {"a long batch", '[' + repeated(good + ',', 99'999) + good + ']', "Line longer than"},
      {"a number beyond float",
       request("set", R"({"path":"config/client/19140000/rx/wantedPowerOffset","value":1e300})"),
       "infinite"},
      {"a command without sense",
       request("run", R"({"path":"command/channel/add","args":{"center":-1}})"), "error"},
  };
}

/// Sends every ill line; the session answers each and goes on.
void send_ill_lines(const std::string& socket) {
  const auto client = nx::line_client::connect_unix(socket);
  for (const auto& row : ill_lines()) {
    SCOPED_TRACE(row.name);
    client->send_raw(row.line + "\n");
    const auto answer = client->read_line(10s);
    ASSERT_TRUE(answer);
    EXPECT_THAT(answer->substr(0, 300), HasSubstr(row.answered));
    EXPECT_THAT(answer->substr(0, 300), HasSubstr("\"error\""));
    client->send_raw(request("get", R"({"path":"data/configStatus"})") + "\n");
    EXPECT_THAT(client->read_line(10s).value_or("none"), HasSubstr("true"));
  }
}

std::string huge_batch() {
  return '[' + repeated(request("get", R"({"path":"**"})") + ',', 999) +
         request("get", R"({"path":"**"})") + "]\n";
}

/// Answers of megabytes, worked out side by side.
void ask_too_much(const std::string& socket) {
  std::vector<std::unique_ptr<nx::line_client>> clients;
  for (int i = 0; i < 6; ++i) {
    clients.push_back(nx::line_client::connect_unix(socket));
    clients.back()->send_raw(huge_batch());
  }
  for (const auto& client : clients) {
    // The first ones are answered, the others refused, each by its id.
    const auto answer = client->read_line(20s).value_or("none");
    EXPECT_THAT(answer.substr(0, 200), HasSubstr(R"("result")"));
    EXPECT_THAT(answer.substr(answer.size() - std::min<std::size_t>(answer.size(), 200)),
                HasSubstr("those of the batch are longer than"));
  }
}

/// Clients that leave in the middle of a message, or say nothing. Those of an earlier crowd may
/// still count, so some are refused.
void come_and_go(const std::string& socket) {
  const auto speak = [&](const std::string& text) {
    try {
      nx::line_client::connect_unix(socket)->send_raw(text);
    } catch (const nx_client_exception& refused) {
      EXPECT_EQ(refused.code, -107) << refused.message;
    }
  };
  for (const char* text : {"", "{", "\n\n\n", R"({"jsonrpc":"2.0","id":1,"method":"get",)"}) {
    for (int i = 0; i < 20; ++i)
      speak(text);
  }
  speak(repeated(request("get", R"({"path":"**"})") + "\n", 50));
}

/// More sessions than there may be, until one is refused; all end with the call. As earlier ones
/// go meanwhile, that need not be the first beyond the limit.
void crowd(const std::string& socket) {
  constexpr std::size_t limit = 256;
  std::vector<std::unique_ptr<nx::line_client>> sessions;
  std::string answer;
  while (answer.empty() && sessions.size() < 2 * limit + 1) {
    sessions.push_back(nx::line_client::connect_unix(socket));
    if (sessions.size() > limit) answer = sessions.back()->read_line(100ms).value_or("");
  }
  EXPECT_THAT(answer, HasSubstr("More than 256 sessions"));
}

TEST(hostile, input_harms_neither_memory_nor_clients_nor_light) {
  test::regulating_node node;
  node.bring_up();
  const auto socket = node.daemon_socket();
  const auto round = [&] {
    send_ill_lines(socket);
    ask_too_much(socket);
    come_and_go(socket);
    crowd(socket);
    EXPECT_TRUE(test::eventually([&] { return node.serves(); }));
  };
  const double before = node.resident_mib();
  const auto channels = node.plant().channels();
  for (std::size_t i = 4; i < 8; ++i) {
    const auto& channel = channels[i];
    node.plant().disturb(channel, 2.0);
    round();
    EXPECT_TRUE(test::eventually([&] { return std::fabs(node.plant().error(channel)) < 0.5; }))
        << node.plant().error(channel) << " dB\n"
        << node.daemon().last_lines();
  }
  EXPECT_TRUE(test::eventually([&] { return node.resident_mib() < before + flat_mib; }))
      << node.resident_mib() << " MiB, was " << before;
  EXPECT_EQ(node.plant().off_target(test::rest_db), "");
}

}  // namespace
