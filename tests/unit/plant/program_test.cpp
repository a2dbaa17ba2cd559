// The simulator as a process: it says when it is ready, takes its services down and up as its
// controls ask, follows its clock, and ends when it is told to.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <signal.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "platform/nexel_client/line_client.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace std::chrono_literals;

class program : public testing::Test {
 protected:
  test::process::settings command(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), SIMULATOR);
    return {arguments, {{"NX_ROOT", folder_.path()}}, {}};
  }
  std::string socket(const std::string& name, const std::string& prefix = "") const {
    return folder_.path() + prefix + "/tmp/nexels/" + name;
  }
  /// The value of a path, as a client of the test's own asks for it; socket paths are whole here.
  static double number(nx::line_client& client, const std::string& path) {
    const auto answer = client.call("get", "{\"path\":\"" + path + "\"}");
    return answer[path.c_str()].GetDouble();
  }
  static void set_state(nx::line_client& controls, const std::string& state) {
    controls.call("set", R"({"path":"config/node/0/nexel/sfp_0/state","value":")" + state + "\"}");
  }
  static bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + test::patience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(5ms);
    }
    return true;
  }
  static bool answers(const std::string& path) {
    try {
      nx::line_client::connect_unix(path)->call("get", R"({"path":"present"})", 200ms);
      return true;
    } catch (const nx_client_exception&) {
      return false;
    }
  }

  test::temp_folder folder_;
};

TEST_F(program, faults_of_a_topology_end_it_with_the_place) {
  const auto bad =
      test::run(command({folder_.write("bad.json", R"({"nodes":[{"booster":{"gain":40}}]})")}));
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.output.find("bad.json: nodes[0].booster.gain: found 40, accepted is a number"),
            std::string::npos)
      << bad.output;
  EXPECT_NE(test::run(command({})).status, 0);
  EXPECT_NE(test::run(command({TOPOLOGY_FOLDER "/orvalite.json", "--speed", "0"})).status, 0);
}

TEST_F(program, serves_two_nodes_with_their_boards_and_ends_on_sigterm) {
  test::process simulator(
      command({TOPOLOGY_FOLDER "/orvalite_pair.json", "--speed", "50", "--board"}));
  ASSERT_TRUE(simulator.wait_for("ready: 19 nexels below " + folder_.path() + "/tmp/nexels"))
      << simulator.output();
  for (const char* prefix : {"", "/far"}) {
    const auto osc = nx::line_client::connect_unix(socket("osc1", prefix));
    EXPECT_TRUE(eventually([&] { return number(*osc, "data/fiberLength") == 80.0; })) << prefix;
    EXPECT_TRUE(std::filesystem::exists(folder_.path() + prefix +
                                        "/mnt/board_info/calibration_data/lumora/lumora.conf"));
  }
  simulator.signal(SIGTERM);
  EXPECT_EQ(simulator.wait_for_exit(), 0);
  EXPECT_FALSE(std::filesystem::exists(socket("osc1"))) << "sockets are taken away";
}

TEST_F(program, takes_services_down_and_up_while_the_others_go_on) {
  test::process simulator(command({TOPOLOGY_FOLDER "/orvalite.json"}));
  ASSERT_TRUE(simulator.wait_for("ready: ")) << simulator.output();
  const auto controls = nx::line_client::connect_unix(socket("sim"));
  const auto sfp = socket("sfp/0");
  ASSERT_TRUE(answers(sfp));
  set_state(*controls, "killed");
  EXPECT_TRUE(eventually([&] { return !std::filesystem::exists(sfp); }));
  set_state(*controls, "hung");
  EXPECT_TRUE(eventually([&] { return std::filesystem::exists(sfp); }));
  EXPECT_TRUE(eventually([&] { return !answers(sfp); })) << "accepts, and never answers";
  set_state(*controls, "ok");
  EXPECT_TRUE(eventually([&] { return answers(sfp); }));
  EXPECT_TRUE(answers(socket("sfp/0")));
  const double before_s = number(*controls, "data/time");
  EXPECT_TRUE(eventually([&] { return number(*controls, "data/time") > before_s; }));
}

}  // namespace
