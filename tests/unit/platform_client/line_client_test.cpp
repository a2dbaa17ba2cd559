// The blocking client of command lines and tests.
#include "platform/nexel_client/line_client.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <optional>

#include "scripted_server.h"
#include "tests/support/temp_folder.h"

namespace client_test {

std::string text_of(const std::optional<nx::json_document>& message) {
  return message ? nx::json_text(*message) : "nothing";
}

TEST(line_client, keeps_events_apart_from_answers) {
  const test::temp_folder folder;
  scripted_server server(folder.file("nexel"), [](const nx::json_value& request) {
    return R"({"method":"event","params":{"path":"a"}})"
           "\n" +
           scripted_server::answer(request) +
           R"({"method":"ended","params":{}})"
           "\n";
  });
  auto client = nx::line_client::connect_unix(folder.file("nexel"));
  EXPECT_EQ(nx::json_text(client->call("get", R"({"path":"data/power"})")), R"({"data/power":1})");
  EXPECT_EQ(text_of(client->next_event(20s)), R"({"method":"event","params":{"path":"a"}})");
  EXPECT_EQ(text_of(client->next_event(20s)), R"({"method":"ended","params":{}})");
  EXPECT_EQ(text_of(client->next_event(0s)), "nothing");
}

TEST(line_client, tells_refusal_silence_and_loss_apart) {
  const test::temp_folder folder;
  const std::string path = folder.file("nexel");
  EXPECT_EQ(failure_of([&] { nx::line_client::connect_unix(path); }).code, -107);
  EXPECT_EQ(failure_of([&] { nx::line_client::connect_unix(std::string(200, 'x')); }).code, -107);

  scripted_server server(path, scripted_server::silence);
  auto client = nx::line_client::connect_unix(path);
  auto call = [&](std::chrono::milliseconds timeout) {
    return failure_of([&] { client->call("get", R"({"path":"a"})", timeout); });
  };
  const auto silence = call(10ms);
  EXPECT_EQ(silence.code, -110);
  EXPECT_EQ(silence.path, "a");

  // The late answer to the first call is not taken for one to the second.
  ASSERT_TRUE(server.seen.await("get a"));
  server.set_script([](const nx::json_value&) {
    return R"({"id":1,"result":{}})"
           "\n"
           R"({"id":2,"error":{"code":-13,"message":"Read-only session"}})"
           "\n";
  });
  const auto refusal = call(20s);
  EXPECT_EQ(refusal.code, -13);
  EXPECT_EQ(refusal.message, "Read-only session");

  server.set_script([](const nx::json_value&) {
    return R"({"id":null,"error":{"code":-32600,"message":"Bad"}})"
           "\n";
  });
  EXPECT_EQ(call(20s).code, -32600);

  server.drop_connection();
  EXPECT_EQ(call(20s).code, -107);
}

}  // namespace client_test
