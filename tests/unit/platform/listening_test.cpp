// Where a server listens: socket files, the interface that comes and goes, start and stop.
#include <csignal>
#include <fstream>
#include <future>

#include "platform/value_tree/nexel_api.h"
#include "tests/unit/platform/server_fixture.h"

namespace {

std::string failure_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "none";
}

TEST_F(server_test, a_socket_file_has_one_server) {
  const std::string path = folder / "tree";
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0660));
  EXPECT_EQ(failure_of([&] { nx::nx_server(runtime, db, path); }),
            "Another server is alive on " + path);
  EXPECT_EQ(connect().ask(request(1, "get", "*")), result(1, ""));

  // What a server that was killed leaves behind: a hard link survives the orderly end.
  const std::string stale = folder / "stale";
  std::filesystem::create_hard_link(path, stale);
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_TRUE(std::filesystem::is_socket(stale));
  server = std::make_unique<nx::nx_server>(runtime, db, stale);
  server->start_accepting();
  EXPECT_EQ(raw_client::to_unix(stale).ask(request(1, "get", "*")), result(1, ""));

  const std::string file = folder / "file";
  std::ofstream(file) << "data";
  EXPECT_EQ(failure_of([&] { nx::nx_server(runtime, db, file); }), "Not a socket: " + file);
  EXPECT_TRUE(std::filesystem::exists(file));
  nx::nx_server deeper(runtime, db, folder / "a/b/tree");
  EXPECT_TRUE(std::filesystem::is_socket(folder / "a/b/tree"));
}

TEST_F(server_test, tcp_sessions_have_the_rights_of_their_socket) {
  float_value::create(db, "a", 1);
  const auto set = request(1, "set", "a", R"(,"value":2)");
  const auto writable = server->start_tcp_socket("::1", 0, false);
  EXPECT_EQ(raw_client::to_ipv6("::1", writable).ask(set), result(1, ""));
  const auto readable = server->start_tcp_socket("::1", 0, true);
  auto client = raw_client::to_ipv6("::1", readable);
  EXPECT_EQ(client.ask(set),
            R"({"jsonrpc":"2.0","id":1,"error":{"code":-13,"message":"Read-only session"}})");
  EXPECT_EQ(client.ask(request(2, "subscribe", "a")), result(2, R"("a":2)"));
  EXPECT_EQ(client.line(), event("a", "2"));
  EXPECT_EQ(failure_of([&] { server->start_tcp_socket("::1", writable, false); }),
            fmt::format("Cannot listen on [::1]:{}: Address already in use", writable));
}

TEST_F(server_test, an_interface_may_be_missing) {
  captured_log log;
  // A port that was free a moment ago.
  const auto port = server->start_tcp_socket("::1", 0, true);
  server = nullptr;
  server = std::make_unique<nx::nx_server>(runtime, db, folder / "tree");
  server->start_accepting();
  server->start_ipv6_socket("lo", port);
  server->start_ipv6_socket("none0", port);
  EXPECT_EQ(log.wait_for(2), (std::vector<std::string>{
                                 fmt::format("Listening on [::1]:{}", port),
                                 "Interface none0 is missing, listening on it once it is there"}));
  EXPECT_EQ(raw_client::to_ipv6("::1", port).ask(request(1, "reset", "a")),
            R"({"jsonrpc":"2.0","id":1,"error":{"code":-13,"message":"Read-only session"}})");
}

class daemon_test : public testing::Test {
 protected:
  daemon_test() { setenv("NX_ROOT", (folder / "").c_str(), 1); }
  ~daemon_test() override { unsetenv("NX_ROOT"); }

  temp_folder folder;
};

TEST_F(daemon_test, serves_from_start_until_a_signal) {
  nexel_api api("/run/tree", 0, false);
  auto early = raw_client::to_unix(folder / "run/tree");
  early.send(request(1, "get", "a") + '\n');
  EXPECT_FALSE(early.has_line(20));
  float_value::create(api.get_db(), "a", 1);
  auto ended = std::async(std::launch::async, [&] { api.start(); });
  EXPECT_EQ(early.line(), result(1, R"("a":1)"));
  ::kill(::getpid(), SIGTERM);
  ended.get();
  // Clients are served and devices reached until the object goes.
  EXPECT_EQ(early.ask(request(2, "get", "a")), result(2, R"("a":1)"));
}

TEST_F(daemon_test, stop_ends_start_even_before_it) {
  nexel_api api("/run/tree", 0, false);
  api.stop();
  api.start();
}

}  // namespace
