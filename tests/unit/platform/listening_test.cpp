// Where a server listens: socket files, the interface that comes and goes, start and stop.
#include <csignal>
#include <filesystem>
#include <future>

#include "platform/value_tree/nexel_api.h"
#include "tests/support/environment.h"
#include "tests/unit/platform/server_fixture.h"

namespace {

using test::failure_of;

TEST_F(server_test, a_socket_file_has_one_server) {
  EXPECT_EQ(std::filesystem::status(socket_path).permissions(), std::filesystem::perms(0660));
  EXPECT_EQ(failure_of([&] { nx::nx_server(runtime, db, socket_path); }),
            "Another server is alive on " + socket_path);
  EXPECT_EQ(connect().ask(request(1, "get", "*")), result(1, ""));

  // What a server that was killed leaves behind: a hard link survives the orderly end.
  const std::string stale = folder.file("stale");
  std::filesystem::create_hard_link(socket_path, stale);
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(socket_path));
  EXPECT_TRUE(std::filesystem::is_socket(stale));
  serve_at(stale);
  EXPECT_EQ(connect_to(stale).ask(request(1, "get", "*")), result(1, ""));

  const std::string file = folder.write("file", "data");
  EXPECT_EQ(failure_of([&] { nx::nx_server(runtime, db, file); }), "Not a socket: " + file);
  EXPECT_TRUE(std::filesystem::exists(file));
  nx::nx_server deeper(runtime, db, folder.file("a/b/tree"));
  EXPECT_TRUE(std::filesystem::is_socket(folder.file("a/b/tree")));
}

TEST_F(server_test, tcp_sessions_have_the_rights_of_their_socket_and_interfaces_may_be_missing) {
  value_node::create(db, "a", "1");
  const auto set = request(1, "set", "a", R"(,"value":2)");
  const std::string refused =
      R"({"jsonrpc":"2.0","id":1,"error":{"code":-13,"message":"Read-only session"}})";
  const auto writable = server->start_tcp_socket("::1", 0, false);
  const auto readable = server->start_tcp_socket("::1", 0, true);
  EXPECT_EQ(connect_tcp(writable).ask(set), result(1, ""));
  const auto client = connect_tcp(readable);
  EXPECT_EQ(client.ask(set), refused);
  EXPECT_EQ(client.ask(request(2, "subscribe", "a")), result(2, R"("a":2)"));
  EXPECT_EQ(client.line(), event("a", "2"));
  EXPECT_EQ(failure_of([&] { server->start_tcp_socket("::1", writable, false); }),
            fmt::format("Cannot listen on [::1]:{}: Address already in use", writable));

  server = nullptr;
  const test::log_capture log;
  serve_at(socket_path);
  server->start_ipv6_socket("lo", readable);  // a port that was free a moment ago
  server->start_ipv6_socket("none0", readable);
  EXPECT_EQ(log.wait_for(2), (std::vector<std::string>{
                                 fmt::format("Listening on [::1]:{}", readable),
                                 "Interface none0 is missing, listening on it once it is there"}));
  EXPECT_EQ(connect_tcp(readable).ask(request(1, "reset", "a")), refused);
}

TEST(nexel_api_test, serves_from_start_until_a_signal_or_a_stop) {
  const test::temp_folder folder;
  const test::environment_variable root("NX_ROOT", folder.path());
  nexel_api api("/run/tree", 0, false);
  const raw_client early(nx::line_client::connect_unix("/run/tree"));
  early.send(request(1, "get", "a") + '\n');
  EXPECT_EQ(early.line(std::chrono::milliseconds(20)), "nothing");
  value_node::create(api.get_db(), "a", "1");
  auto over = std::async(std::launch::async, [&] { api.start(); });
  EXPECT_EQ(early.line(), result(1, R"("a":1)"));
  ::kill(::getpid(), SIGTERM);
  over.get();
  // Clients are served and devices reached until the object goes.
  EXPECT_EQ(early.ask(request(2, "get", "a")), result(2, R"("a":1)"));

  nexel_api stopped("/run/other", 0, false);
  stopped.stop();
  stopped.start();
}

}  // namespace
