// Everything the lab starts must be gone when it ends, and a program that dies early must be named.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/support/temp_folder.h"
#include "tools/lab/child_process.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/lab_folder.h"
#include "tools/lab/options.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/user.h"

using namespace tools::lab;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

bool alive(pid_t pid) {
  return kill(pid, 0) == 0;
}

program shell(const test::temp_folder& folder, const std::string& script) {
  return {"script", {"/bin/sh", "-c", script}, {"GREETING=hello"}, folder.file("script.log")};
}

std::string failure_of(supervisor& programs, std::chrono::seconds limit) {
  try {
    programs.wait_until("a wonder", limit, [] { return false; });
  } catch (const lab_failure& failure) {
    return failure.what();
  }
  return "";
}

TEST(lab_options, give_a_page_a_simulated_far_end_unless_another_is_asked_for) {
  const auto peer_of = [](std::vector<std::string> words) {
    words.insert(words.begin(), "lumora_lab");
    std::vector<char*> arguments;
    for (auto& word : words)
      arguments.push_back(word.data());
    options given;
    EXPECT_EQ(read_options(static_cast<int>(arguments.size()), arguments.data(), given),
              std::nullopt);
    return given.peer.name;
  };
  EXPECT_EQ(peer_of({}), "");
  EXPECT_EQ(peer_of({"--web"}), "orva-lite");
  EXPECT_EQ(peer_of({"--web", "--product", "selkaplus"}), "selka-plus");
  EXPECT_EQ(peer_of({"--web", "--peer", "tarn-one"}), "tarn-one");
  EXPECT_EQ(peer_of({"--web", "--peer"}), "orvalite");
}

}  // namespace

TEST(child_process, gets_its_variables_and_keeps_its_last_words) {
  const test::temp_folder folder;
  user at_terminal;
  supervisor programs(at_terminal);
  auto& child = programs.start(shell(folder, "echo 1; echo $GREETING; echo end >&2; exit 3"));
  EXPECT_THAT(
      failure_of(programs, std::chrono::seconds(30)),
      AllOf(HasSubstr("script has ended with exit status 3"), HasSubstr("    hello\n    end")));
  EXPECT_THAT(child.last_lines(2), ElementsAre("hello", "end"));
}

TEST(supervisor, names_the_last_error_of_a_program_and_not_its_last_chatter) {
  const test::temp_folder folder;
  user at_terminal;
  supervisor programs(at_terminal);
  programs.start(shell(folder,
                       "echo 'T error a.cpp: old'; echo 'T info a.cpp: fine'; "
                       "echo 'T error a.cpp: no memory'; echo 'terminate called'; "
                       "echo 'T info a.cpp: going down'; exit 3"));
  const auto told = failure_of(programs, std::chrono::seconds(30));
  EXPECT_THAT(told, HasSubstr("exit status 3; its last error:\n    T error a.cpp: no memory\n"
                              "    terminate called"));
  EXPECT_THAT(told, Not(HasSubstr("going down")));
}

TEST(supervisor, ends_everything_in_the_reverse_order_of_its_start) {
  const test::temp_folder folder;
  const auto log = folder.file("order");
  std::vector<pid_t> pids;
  {
    user at_terminal;
    supervisor programs(at_terminal);
    for (const char* name : {"first", "second"}) {
      const auto ready = folder.file(name);
      const auto script = "trap 'echo " + std::string(name) + " >>" + log + "; exit' TERM; : >" +
                          ready + "; while :; do sleep 0.01; done";
      auto child = shell(folder, script);
      child.name = name;
      pids.push_back(programs.start(child).pid());
      programs.wait_until(name, std::chrono::seconds(30),
                          [&ready] { return std::filesystem::exists(ready); });
    }
  }
  for (const auto pid : pids)
    EXPECT_FALSE(alive(pid));
  std::ifstream ended(log);
  const std::string text{std::istreambuf_iterator<char>(ended), {}};
  EXPECT_EQ(text, "second\nfirst\n");
}
