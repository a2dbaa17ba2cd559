// `lumoractl explain` of whole processes: the first sentence names the cause, not its
// consequences, and the exit code asks for a person. The faults on each model are in tests/loops.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/system/daemon_pair.h"
#include "tests/system/regulating_node.h"

namespace {

using testing::HasSubstr;

constexpr int needs_person = 6;

std::string first_line(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

/// Waits until the first sentence begins with `cause`; the last one otherwise.
std::string await_first(const test::regulating_node& node, const std::string& cause) {
  std::string said;
  test::eventually([&] {
    const auto told = node.lumoractl({"explain"});
    said = first_line(told.output);
    return said.starts_with(cause) && told.status == needs_person;
  });
  return said;
}

struct fault {
  const char* path;
  const char* broken;
  const char* healthy;
  const char* cause;  ///< begin of the first sentence
};

TEST(explain, names_the_cause_of_each_fault_of_a_node_first) {
  test::regulating_node node;
  node.bring_up();
  const fault table[] = {
      {"config/fibre/1/cut", "true", "false", "The fibre is cut or unplugged"},
      {"config/node/0/nexel/booster/state", "\"hung\"", "\"ok\"", "The booster has not answered"},
  };
  for (const auto& [path, broken, healthy, cause] : table) {
    node.plant().set(path, broken);
    EXPECT_EQ(await_first(node, cause).substr(0, std::string(cause).size()), cause) << path;
    node.plant().set(path, healthy);
    // A lone node has nobody at its far end, and says so when nothing worse is left.
    EXPECT_THAT(await_first(node, "There is no peer"), HasSubstr("There is no peer")) << path;
  }
}

TEST(explain, names_a_channel_whose_attenuator_is_at_its_end) {
  test::regulating_node node;
  node.bring_up();
  node.plant().set("config/node/0/laser/19230000/power", "-12");
  const auto named = [&] {
    const auto said = first_line(node.lumoractl({"explain", "192.30"}).output);
    return said.find("192.30") != said.npos &&
           node.lumoractl({"explain", "1558.98"}).status == needs_person;
  };
  EXPECT_TRUE(test::eventually(named)) << node.lumoractl({"explain", "192.30"}).output;
  EXPECT_THAT(node.lumoractl({"explain", "19230000"}).output,
              HasSubstr("the attenuator is fully open"));
  EXPECT_EQ(node.lumoractl({"explain", "191.40"}).status, 0);
  EXPECT_THAT(node.lumoractl({"events"}).output, HasSubstr("config/redisConfigStatus"));
}

TEST(explain, names_what_has_become_of_the_peer) {
  auto link = test::supervisory_link::make();
  if (!link) GTEST_SKIP() << "this system refuses network namespaces";
  test::daemon_pair pair(std::move(link));
  pair.bring_up();
  const test::process::settings ask{
      {LUMORACTL, "--socket", pair.daemon_socket(0), "explain"}, {}, {}};
  const auto await = [&](const std::string& cause) {
    std::string said;
    test::eventually([&] {
      said = test::run(ask).output;
      return said.starts_with(cause);
    });
    return first_line(said);
  };
  // Ten decibels less in the fibre are more than the far preamp can bear, until the VOA has closed.
  pair.plant(0).set("config/fibre/0/lossOffset", "-10");
  EXPECT_THAT(await("The far preamp is saturated"), HasSubstr("The far preamp is saturated"));
  pair.daemon(1).signal(SIGKILL);
  pair.daemon(1).wait_for_exit();
  EXPECT_THAT(await("The peer ORVA-LITE is lost"), HasSubstr("The peer ORVA-LITE is lost"));
}

}  // namespace
