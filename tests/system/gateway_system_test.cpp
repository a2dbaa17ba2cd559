// The gateway's own process beside a regulating daemon: what collectors and pages see of it, and of
// a daemon that is killed and comes back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/system/regulating_node.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class gateway_node : public testing::Test {
 protected:
  void start_gateway(const std::vector<std::string>& more = {}) {
    test::process::settings what{{LUMORA_BIN_DIR "/lumora_gateway", "--listen", "127.0.0.1:0"},
                                 {{"NX_ROOT", node.root().path()}},
                                 {"JOURNAL_STREAM", "NOTE_LOG_SEVERITY"}};
    what.command.insert(what.command.end(), more.begin(), more.end());
    gateway = std::make_unique<test::process>(what);
    ASSERT_TRUE(gateway->wait_for("Serving http")) << gateway->output();
    const auto said = gateway->output();
    const auto begin = said.find("http://");
    address = said.substr(begin, said.find('\n', begin) - begin);
  }
  std::string get(const std::string& target) const {
    return test::run({{"curl", "-s", "-g", "-m", "10", address + target}, {}, {}}).output;
  }
  bool comes(const std::string& target, const std::string& text) const {
    return test::eventually([&] { return get(target).find(text) != std::string::npos; });
  }

  test::regulating_node node;
  std::unique_ptr<test::process> gateway;
  std::string address;
};

TEST_F(gateway_node, tells_of_the_node_and_outlives_its_daemon) {
  start_gateway();
  EXPECT_THAT(get("readyz"), HasSubstr("Not connected"));
  EXPECT_THAT(get("metrics"), HasSubstr("lumora_up{"));
  node.bring_up();
  EXPECT_TRUE(comes("readyz", "regulates"));
  EXPECT_THAT(get("api/v1/values?path=data/product"), HasSubstr("\"data/product\":"));
  EXPECT_TRUE(comes("metrics", "lumora_cycle_seconds_count"));
  const auto metrics = get("metrics");
  EXPECT_THAT(metrics,
              HasSubstr("direction=\"rx\",channel=\"19140000\",frequency_thz=\"191.4\"} "));
  EXPECT_THAT(metrics, HasSubstr("lumora_alarm{"));
  EXPECT_THAT(metrics, Not(HasSubstr(" -99\n")));

  node.daemon().signal(SIGKILL);
  EXPECT_TRUE(comes("readyz", "Not connected"));
  EXPECT_THAT(get("metrics"), HasSubstr("\"} 0\n"));
  EXPECT_THAT(get("metrics"), Not(HasSubstr("lumora_channel")))
      << "what was told is not so any more";
  node.start_and_await();
  EXPECT_TRUE(comes("readyz", "The daemon waits for its configuration"));
  node.release();
  EXPECT_TRUE(comes("readyz", "regulates"));
  EXPECT_EQ(test::fault_of_end(*gateway), "");
}

}  // namespace
