// Two daemons face to face, each on a network of its own, over a supervisory link that dies with
// one of them or is pulled out.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>

#include "platform/nexel_client/line_client.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "tests/system/regulating_node.h"
#include "tests/system/supervisory_link.h"

namespace {

constexpr const char* identified = "Remote channel subscription complete.";
constexpr const char* line_regulates = "calculate_lms_error(): lms error: ";

/// Cycles from the last of the peer's identifications to the first regulation of the line behind
/// it, in what was logged from `begin` on.
unsigned cycles_until_regulation(const std::string& log, std::size_t begin) {
  const auto regulation = log.find(line_regulates, log.find(identified, begin));
  if (regulation == std::string::npos) return ~0U;
  const auto start = log.rfind(identified, regulation);
  unsigned cycles = 0;
  const std::string cycle = test::operational_line;
  for (auto at = log.find(cycle, start); at < regulation; at = log.find(cycle, at + 1))
    ++cycles;
  return cycles;
}

class two_nodes : public testing::Test {
 protected:
  void SetUp() override {
    link_ = test::supervisory_link::make();
    if (!link_) GTEST_SKIP() << "this system refuses network namespaces";
    near_.start_store();
    near_.start_devices("orvalite_pair");
    for (unsigned node : {0U, 1U})
      start_daemon(node);
    ASSERT_TRUE(await_line(0, 0)) << daemon(0).last_lines();
    ASSERT_TRUE(await_line(1, 0)) << daemon(1).last_lines();
    ASSERT_TRUE(await_rest());
  }

  test::process& daemon(unsigned node) { return *daemons_[node]; }
  std::string root(unsigned node) const { return near_.root().path() + (node == 0 ? "" : "/far"); }

  void write(unsigned node, const std::string& path, const std::string& value) {
    const auto client = nx::line_client::connect_unix(root(node) + "/tmp/device_managers/lumora");
    client->call("set", fmt::format(R"({{"path":"{}","value":{}}})", path, value));
  }
  bool knows(unsigned node, const std::string& path) {
    try {
      const auto client = nx::line_client::connect_unix(root(node) + "/tmp/device_managers/lumora");
      return client->call("get", fmt::format(R"({{"path":"{}"}})", path)).HasMember(path.c_str());
    } catch (const std::exception&) {
      return false;
    } catch (const nx_client_exception&) {
      return false;
    }
  }

  void start_daemon(unsigned node) {
    auto what = near_.daemon_settings();
    std::replace(what.command.begin(), what.command.end(), std::string("none0"),
                 std::string(test::supervisory_link::interface));
    const auto enter = link_->enter(node);
    what.command.insert(what.command.begin(), enter.begin(), enter.end());
    what.environment["NX_ROOT"] = root(node);
    daemons_[node] = std::make_unique<test::process>(what);
    ASSERT_TRUE(test::eventually([&] { return knows(node, "config/redisConfigStatus"); }))
        << daemon(node).last_lines();
    write(node, "debug/loglevel", "\"verbose\"");
    write(node, "config/redisConfigStatus", "true");
  }

  /// Once the line of a node regulates with a peer that was identified after `begin` of its log.
  bool await_line(unsigned node, std::size_t begin) {
    const auto regulates = [&] {
      return cycles_until_regulation(daemon(node).output(), begin) != ~0U;
    };
    // Two that meet ask each other for the same values, and may wait for one another for a while.
    for (int round = 0; round < 4; ++round) {
      if (test::eventually(regulates)) return true;
    }
    return false;
  }

  /// All channels on target, and no step of any switch for some cycles.
  bool await_rest() {
    double writes = -1.0;
    const auto rests = [&] {
      const auto on_target = plant_.off_target(0.5).empty();
      const double before = std::exchange(writes, switch_writes());
      const auto seen = daemon(0).count(test::operational_line);
      return daemon(0).wait_for(test::operational_line, seen + 8) && on_target &&
             writes == before && switch_writes() == before;
    };
    return test::eventually(rests) || test::eventually(rests);
  }

  double switch_writes() const {
    double sum = 0.0;
    for (const auto& [path, value] : plant_.numbers("counters/node/*/*/switchWrites"))
      sum += value;
    return sum;
  }
  auto attenuations(const std::string& node = "*") const {
    return plant_.numbers("truth/node/" + node + "/*/channel/*/attenuation");
  }

  test::daemon_node near_;
  test::plant_controls plant_{near_.root().path()};
  std::unique_ptr<test::supervisory_link> link_;
  std::array<std::unique_ptr<test::process>, 2> daemons_;
};

TEST_F(two_nodes, a_killed_peer_moves_no_channel_and_is_regulated_with_again) {
  const auto at_rest = attenuations();
  const auto own_at_rest = attenuations("0");
  daemon(1).signal(SIGKILL);
  daemon(1).wait_for_exit();
  ASSERT_TRUE(daemon(0).wait_for("Remote connection lost: fe80::2%osc0"));
  plant_.set("config/fibre/0/lossOffset", "3");
  const auto cycles = daemon(0).count(test::operational_line);
  ASSERT_TRUE(daemon(0).wait_for(test::operational_line, cycles + 8)) << daemon(0).last_lines();
  EXPECT_EQ(attenuations(), at_rest);

  const auto begin = daemon(0).output().size();
  const auto steps = daemon(0).count("Adjusting VOA from");
  start_daemon(1);
  ASSERT_TRUE(await_line(0, begin)) << daemon(0).last_lines();
  EXPECT_LE(cycles_until_regulation(daemon(0).output(), begin), 3U);
  EXPECT_TRUE(daemon(0).wait_for("Adjusting VOA from", steps + 1)) << daemon(0).last_lines();
  // The other node corrects what it receives from the longer fibre.
  EXPECT_EQ(attenuations("0"), own_at_rest);
}

TEST_F(two_nodes, find_each_other_over_an_interface_that_was_plugged_in_again) {
  const std::string listening = "Listening on [fe80::2%osc0]:5100";
  const std::string missing = "Interface osc0 is missing, listening on it once it is there";
  const auto at_rest = attenuations();
  link_->unplug();
  for (unsigned node : {0U, 1U})
    ASSERT_TRUE(daemon(node).wait_for(missing)) << daemon(node).last_lines();
  const auto begin = daemon(0).output().size();
  const auto listened = daemon(1).count(listening);
  // Its neighbour dials the second of its addresses.
  link_->plug({"fe80::7/64"});
  EXPECT_TRUE(daemon(1).wait_for(listening, listened + 1)) << daemon(1).last_lines();
  EXPECT_TRUE(daemon(1).wait_for("Listening on [fe80::7%osc0]:5100")) << daemon(1).last_lines();
  ASSERT_TRUE(await_line(0, begin)) << daemon(0).last_lines();
  EXPECT_EQ(attenuations(), at_rest);
}

}  // namespace
