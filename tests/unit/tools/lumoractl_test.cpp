// lumoractl as seen by a script: a real tree on a socket, the program, its output and exit code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/command.h"
#include "api/config_param.h"
#include "api/const_value.h"
#include "api/status_value.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_server.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

#include <rapidjson/document.h>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

/// What stands behind the tree's parameters and commands.
struct owner : std::enable_shared_from_this<owner> {
  void set_mode(const std::string& text) {
    if (text == "bad") throw nx_error(-22, "Unknown automation mode");
  }
  void set_power(float) {}
  bool add(const rapidjson::Document& request) { return request.HasMember("center"); }
};

class lumoractl : public testing::Test {
 protected:
  lumoractl() : db_(runtime_.poller(), runtime_.io_context()) {
    using namespace nx::api;
    power_ = status_value<float>::create(db_, "data/line/1/tx/power", -1.5F, 1);
    status_value<float>::create(db_, "data/line/1/rx/power", -17.0F, 1);
    status_value<bool>::create(db_, "data/configStatus", true, 1);
    config_param<&owner::set_mode>::create(db_, "config/automationMode", {}, owner_);
    config_param<&owner::set_power>::create(db_, "config/power", {}, owner_);
    command<&owner::add>::create(db_, "command/channel/add", owner_);
    server_ = std::make_unique<nx::nx_server>(runtime_, db_, socket());
    server_->start_accepting();
  }

  std::string socket() const { return folder_.file("tree.sock"); }

  test::process::settings settings(std::vector<std::string> words) const {
    words.insert(words.begin(), {LUMORACTL, "--socket", socket()});
    return {words, {}, {"NX_ROOT"}};
  }
  test::finished run(const std::vector<std::string>& words) const {
    return test::run(settings(words));
  }

  void expect(const std::vector<std::string>& words, int status, const std::string& output) const {
    const auto result = run(words);
    EXPECT_EQ(result.status, status) << result.output;
    EXPECT_EQ(result.output, output);
  }

  test::temp_folder folder_;
  std::shared_ptr<owner> owner_ = std::make_shared<owner>();
  nx::server_runtime runtime_;
  nx_db db_;
  std::shared_ptr<nx::api::status_value<float>> power_;
  std::unique_ptr<nx::nx_server> server_;
};

}  // namespace

TEST_F(lumoractl, answers_people) {
  const std::tuple<std::vector<std::string>, int, const char*> table[] = {
      {{"get", "data/line/1/tx/power"}, 0, "-1.5 dBm\n"},
      {{"get", "data/line/1/tx/power", "--bare"}, 0, "-1.5\n"},
      {{"get", "data/line/1/*/power"},
       0,
       "data/line/1/rx/power  -17 dBm\ndata/line/1/tx/power  -1.5 dBm\n"},
      {{"get", "data/configStatus", "data/line/1/tx/power"},
       0,
       "data/configStatus     true\ndata/line/1/tx/power  -1.5 dBm\n"},
      {{"set", "config/power", "-3.25"}, 0, ""},
      {{"get", "config/power"}, 0, "-3.25 dBm\n"},
      {{"set", "config/automationMode", "true"}, 0, ""},
      {{"get", "config/automationMode", "--bare"}, 0, "true\n"},
      {{"run", "command/channel/add", "center=19600000", "direction=both"}, 0, "true\n"},
      {{"set", "command/channel/add", R"({"center":1})"}, 0, "true\n"},
      {{"run", "command/channel/add"}, 1, "false\n"},
      {{"list", "data/"}, 0, "configStatus\nline/\n"},
      {{"tree", "data/line", "-v"},
       0,
       "data/\n  line/\n    1/\n      rx/\n        power  -17 dBm\n      tx/\n        power  "
       "-1.5 dBm\n"},
      {{"info", "config/power"},
       0,
       "config/power  config param  float  read,write,subscribe  dBm\n"},
      {{"get", "data/nothing"}, 1, "lumoractl: -2 No such path: data/nothing\n"},
      {{"get", "data/nothing/*"}, 5, "lumoractl: no path fits data/nothing/*\n"},
      {{"set", "config/automationMode", "bad"}, 1, "lumoractl: -22 Unknown automation mode\n"},
      {{"set", "data/line/1/tx/power", "3"},
       1,
       "lumoractl: -22 Not writable: data/line/1/tx/power\n"},
  };
  for (const auto& [words, status, output] : table)
    expect(words, status, output);
  EXPECT_THAT(run({"info", "config/automationMode"}).output, HasSubstr("managedCLI, "));
}

TEST_F(lumoractl, tells_wrong_words_from_refusals) {
  const std::pair<std::vector<std::string>, const char*> wrong[] = {
      {{"set", "config/power", "much"}, "which accepts a number"},
      {{"paint"}, ""},
      {{"--node", "get", "data/configStatus"}, ""},
      {{"get", "data/li*/1/tx/power"}, "'data/*/1/tx/power'"},
      {{"get", "data/**/power"}, "'data/*/power'"},
      {{"get", "data/**x"}, "'data/*'"},
  };
  for (const auto& [words, told] : wrong) {
    const auto result = run(words);
    EXPECT_EQ(result.status, 2) << result.output;
    EXPECT_THAT(result.output, HasSubstr(told));
  }
}

TEST_F(lumoractl, answers_failures_as_json_too_where_json_was_asked_for) {
  const auto line = [this](const std::vector<std::string>& words) {
    const auto output = run(words).output;
    return output.substr(0, output.find('\n'));
  };
  EXPECT_EQ(line({"--json", "get", "data/nothing"}),
            R"({"error":{"code":-2,"message":"No such path: data/nothing"}})");
  EXPECT_THAT(line({"--json", "set", "config/power", "much"}),
              StartsWith(R"({"error":{"code":-22,)"));
  EXPECT_THAT(run({"--json", "paint"}).output, HasSubstr(R"({"error":{"code":-22,)"));
  server_.reset();
  EXPECT_THAT(line({"--json", "list"}), StartsWith(R"({"error":{"code":-107,)"));
}

TEST_F(lumoractl, answers_scripts_in_shapes_that_last) {
  nx::api::const_value<std::string>::create(db_, "data/product", "ORVA-LITE");
  const auto log = nx::api::status_value<std::string>::create(db_, "insight/log", "", 9);
  log->update(R"({"event":"cut","on":"line"})");
  const auto file = folder_.file("node.json");
  std::ofstream(file) << R"({"format":"lumora parameters 1","product":"ORVA-LITE","parameters":)"
                      << R"({"config/automationMode":"bad","config/power":2,"config/x":1}})";
  struct row {
    std::vector<std::string> words;
    int status;
    std::string output;  ///< T stands for a time
  };
  const row table[] = {
      {{"get", "data/line/1/*/power"},
       0,
       R"({"data/line/1/rx/power":-17,"data/line/1/tx/power":-1.5})"},
      {{"watch", "data/line/1/tx/power", "--count", "1"},
       0,
       R"({"path":"data/line/1/tx/power","time":"T","value":-1.5})"},
      {{"set", "config/power", "1"}, 0, "{}"},
      {{"run", "command/channel/add", "center=1"}, 0, R"({"command/channel/add":true})"},
      {{"list", "data"}, 0, R"({"data":["configStatus","line/","product"]})"},
      {{"tree", "data/line/1/tx"}, 0, R"({"data/":{"line/":{"1/":{"tx/":{"power":null}}}}})"},
      {{"tree", "data/line/1/tx", "-v"}, 0, R"({"data/":{"line/":{"1/":{"tx/":{"power":-1.5}}}}})"},
      {{"info", "config/power"},
       0,
       R"({"config/power":{"type":"config param","valueType":"float","capabilities":)"
       R"({"read":true,"write":true,"subscribe":true},"unit":"dBm"}})"},
      {{"history", "insight/log"},
       0,
       R"({"insight/log":[{"time":"T","value":"{\"event\":\"cut\",\"on\":\"line\"}"}]})"},
      {{"events"}, 0, R"({"event":"cut","on":"line"})"},
      {{"load", file},
       1,
       R"({"written":{"config/power":2},"refused":{"config/automationMode":)"
       R"("-22 Unknown automation mode"},"same":[],"missing":["config/x"],"kept":[],"untried":[]})"},
      {{"explain"},
       6,
       R"({"about":"node","product":"ORVA-LITE","well":false,"findings":[{"cause":"startFailed",)"
       R"("on":"node","needsPerson":true,"sentence":"The daemon is still starting, or waits for )"
       R"(what it needs to start.","doing":"","remedy":"Check its log: it says what it is waiting )"
       R"(for.","since":null}],"rest":[]})"},
  };
  for (auto [words, status, output] : table) {
    words.insert(words.begin(), "--json");
    const auto result = run(words);
    EXPECT_EQ(result.status, status) << words[1];
    const std::regex time(R"("time":"[-0-9]+T[0-9:.]+Z")");
    EXPECT_EQ(std::regex_replace(result.output, time, R"("time":"T")"), output + '\n');
  }
}

TEST_F(lumoractl, brings_back_what_it_has_taken_away_and_tells_what_it_could_not) {
  const auto file = folder_.file("node.json");
  nx::api::const_value<std::string>::create(db_, "data/product", "ORVA-LITE");
  run({"set", "config/power", "3.5"});
  EXPECT_EQ(run({"save", file}).output, "1 parameter of ORVA-LITE saved\n");
  expect({"load", file}, 0, "0 written, 1 already so, 0 refused, 0 left\n");
  run({"set", "config/power", "-1"});
  expect({"load", file}, 0,
         "written  config/power  3.5 dBm\n1 written, 0 already so, 0 refused, 0 left\n");

  const auto with = [&](const std::string& product, const std::string& parameters) {
    std::ofstream(file) << R"({"format":"lumora parameters 1","product":")" << product
                        << R"(","parameters":{)" << parameters << "}}";
    return run({"load", file});
  };
  const auto partly =
      with("ORVA-LITE", R"("config/automationMode":"bad","config/power":2,"config/x":1)");
  EXPECT_EQ(partly.status, 1);
  EXPECT_EQ(partly.output,
            "written  config/power           2 dBm\n"
            "refused  config/automationMode  (-22 Unknown automation mode)\n"
            "left     config/x               not on this node\n"
            "1 written, 0 already so, 1 refused, 1 left\n");
  EXPECT_EQ(with("ORVA-MAX", "").status, 2);
  EXPECT_EQ(with("ORVA-LITE", R"("command/channel/add":{})").status, 2);
  nx::api::const_value<std::string>::create(db_, "data/product", "\x1b[31mnone\n");
  EXPECT_EQ(run({"save", file}).output, "1 parameter of \\x1b[31mnone\\n saved\n");
}

TEST_F(lumoractl, takes_any_file_for_what_it_is) {
  const auto file = folder_.file("node.json");
  const auto link = folder_.file("link.json");
  nx::api::const_value<std::string>::create(db_, "data/product", "ORVA-LITE");
  run({"set", "config/power", "3.5"});
  EXPECT_EQ(run({"save", "--json", file}).output, R"({"saved":1,"product":"ORVA-LITE"})"
                                                  "\n");
  std::filesystem::create_symlink(file, link);
  EXPECT_EQ(run({"save", link}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  const auto folder = std::filesystem::path(file).parent_path().string();
  const std::pair<const char*, std::string> table[] = {
      {"load", folder},         {"load", "/dev/zero"}, {"load", "/dev/null"},
      {"load", file + ".none"}, {"save", folder},      {"save", folder + "/none/x"},
  };
  for (const auto& [command, name] : table) {
    const auto result = run({command, name});
    EXPECT_EQ(result.status, 2) << command << ' ' << name;
    EXPECT_THAT(result.output, StartsWith("lumoractl: ")) << command << ' ' << name;
  }
  // A device stays one, also if it takes nothing.
  const auto pipe = folder_.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::jthread reader([&] { std::ifstream(pipe).ignore(100000); });
  EXPECT_EQ(run({"save", pipe}).status, 0);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(lumoractl, watches_until_enough_has_been_seen) {
  test::process watch(settings({"watch", "data/line/**", "--count", "3"}));
  ASSERT_TRUE(watch.wait_for("data/line/1/tx/power  -1.5 dBm"));
  ASSERT_TRUE(watch.wait_for("data/line/1/rx/power  -17 dBm"));
  power_->update(2.0F);
  EXPECT_EQ(watch.wait_for_exit(), 0);
  EXPECT_THAT(watch.output(), EndsWith("Z  data/line/1/tx/power  2 dBm\n"));
}

TEST_F(lumoractl, ends_its_watch_at_the_users_wish_and_with_the_server) {
  test::process watch(settings({"watch", "data/configStatus"}));
  ASSERT_TRUE(watch.wait_for("true"));
  watch.signal(SIGINT);
  EXPECT_EQ(watch.wait_for_exit(), 0);
  test::process orphan(settings({"watch", "data/configStatus"}));
  ASSERT_TRUE(orphan.wait_for("true"));
  server_.reset();
  EXPECT_EQ(orphan.wait_for_exit(), 3);
  EXPECT_EQ(run({"get", "data/configStatus"}).status, 3);
}

TEST_F(lumoractl, gives_up_on_a_tree_that_hangs) {
  server_->set_fault(nx::server_fault::hung);
  const auto result = run({"--timeout", "0.2", "get", "data/configStatus"});
  EXPECT_EQ(result.status, 4) << result.output;
}
