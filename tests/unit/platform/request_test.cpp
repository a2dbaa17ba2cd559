// Requests and their answers, letter by letter, without sockets.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <stdexcept>

#include "platform/kvs_client/kvs_client.h"
#include "platform/value_tree/server/request_handler.h"
#include "platform/wire/json_conversion.h"
#include "tests/support/failure.h"
#include "tests/support/nodes.h"

namespace {

class requests : public testing::Test {
 protected:
  requests() {
    db.set_clock([] {
      return std::chrono::system_clock::time_point(std::chrono::milliseconds(1769860800123));
    });
    test::value_node::create(db, "data/1/power", "0.2");
    test::value_node::create(db, "data/2/power", "-3")->fail({-61, "No light"});
    test::read_node::create(db, "data/name", [this] { return read(); });
    test::command_node::create(db, "command/add", [this](const std::string& args) {
      ran = args;
      return "true";
    });
  }

  static std::string request(const std::string& method, const std::string& params) {
    return fmt::format(R"({{"jsonrpc":"2.0","id":1,"method":"{}","params":{}}})", method, params);
  }

  // The answer without its frame: the result, or code and message of an error.
  std::string ask(const std::string& method, const std::string& params,
                  nx::access rights = nx::access::full) {
    return stripped(nx::request_handler(db, rights, nullptr).answer(request(method, params)));
  }

  static std::string stripped(std::string line) {
    for (const std::string head :
         {R"({"jsonrpc":"2.0","id":1,"result":)", R"({"jsonrpc":"2.0","id":1,"error":)"}) {
      if (line.rfind(head, 0) == 0) return line.substr(head.size(), line.size() - head.size() - 1);
    }
    return line;
  }

  std::string answer(const std::string& line) {
    return nx::request_handler(db, nx::access::full, nullptr).answer(line);
  }

  nx_db db;
  std::string ran;
  std::function<std::string()> read = [] { return "node"; };
};

// A get in its plain form takes a short way; a blank at the end sends the same text the long one.
TEST_F(requests, in_plain_form_are_answered_as_any_other) {
  const auto get = [](const std::string& id, const std::string& path) {
    return fmt::format(R"({{"jsonrpc":"2.0","id":{},"method":"get","params":{{"path":"{}"}}}})", id,
                       path);
  };
  std::vector<std::string> lines;
  for (const char* id : {"0", "17", "007", "-1", "1.5", "", "null", "999999999999999999",
                         "18446744073709551615", "18446744073709551616"}) {
    lines.push_back(get(id, "data/1/power"));
  }
  for (const char* path : {"data/2/power", "data/3/power", "data/*/power", "data/**", "", "a\\nb",
                           "a\nb", "a\\", "command/add", "caf\xc3\xa9", "\xff", "a\"b"}) {
    lines.push_back(get("1", path));
  }
  const auto good = get("1", "data/1/power");
  for (const std::string& line : {good + "}", good.substr(0, good.size() - 1), good + good})
    lines.push_back(line);
  for (const std::string& elements : {good + ',' + get("2", "data/2/power"), good, std::string(),
                                      good + ",1", good + ',', ',' + good, good + ' ' + good})
    lines.push_back('[' + elements + ']');
  std::string many = good;
  for (int i = 0; i < 999; ++i)
    many += ',' + good;
  lines.push_back('[' + many + ']');
  lines.push_back('[' + many + ',' + good + ']');
  const auto told = [this](const std::string& line) {
    const auto text = answer(line);
    return text.substr(0, text.find(" at byte"));
  };
  for (const auto& line : lines)
    EXPECT_EQ(told(line), told(line + ' ')) << line.substr(0, 200);
  EXPECT_EQ(answer(good), R"({"jsonrpc":"2.0","id":1,"result":{"data/1/power":0.2}})");
}

TEST_F(requests, of_each_method) {
  const std::array<const char*, 3> rows[] = {
      {"get", R"({"path":"data/1/power"})", R"({"data/1/power":0.2})"},
      {"get", R"({"path":"data/2/power"})", R"({"code":-61,"message":"No light"})"},
      {"get", R"({"path":"data/*/power"})",
       R"({"data/1/power":0.2,"data/2/power":{"error":{"code":-61,"message":"No light"}}})"},
      {"get", R"({"path":"none/**"})", "{}"},
      {"get", R"({"path":"data/3/power"})",
       R"({"code":-2,"message":"No such path: data/3/power"})"},
      {"get", R"({"path":"command/add"})", R"({"code":-22,"message":"Not readable: command/add"})"},
      {"set", R"({"path":"data/1/power","value":1.5})", "{}"},
      {"get", R"({"path":"data/1/power"})", R"({"data/1/power":1.5})"},
      {"set", R"({"path":"data/1/power","value":"1"})",
       R"({"code":-22,"message":"expected float, found string"})"},
      {"set", R"({"path":"data/name","value":1})",
       R"({"code":-22,"message":"Not writable: data/name"})"},
      {"set", R"({"path":"data/*/power","value":1})",
       R"({"code":-2,"message":"No such path: data/*/power"})"},
      {"set", R"({"path":"data/1/power"})",
       R"({"code":-32602,"message":"Invalid params: \"value\" is missing beside \"path\""})"},
      {"set", R"({"path":"command/add","value":{"a":1}})", R"({"command/add":true})"},
      {"run", R"({"path":"command/add","args":[2]})", R"({"command/add":true})"},
      {"run", R"({"path":"data/name","args":{}})",
       R"({"code":-22,"message":"Not runnable: data/name"})"},
      {"reset", R"({"path":"data/name"})", R"({"code":-22,"message":"Not resettable: data/name"})"},
      {"reset", R"({"path":"data/1/power"})", "{}"},
      {"subscribe", R"({"path":"data/none"})",
       R"({"code":-2,"message":"No such path: data/none"})"},
      {"info", R"({"path":"data/1/power"})", R"({"data/1/power":{"type":"test value"}})"},
      {"info", R"({"path":"data/*"})", R"({"data/name":{}})"},
      {"list", R"({"path":""})", R"({"":["command/","data/"]})"},
      {"list", R"({"path":"data","recursive":true})",
       R"({"data":["data/1/power","data/2/power","data/name"]})"},
      {"list", R"({"path":"data","recursive":"yes"})",
       R"({"code":-32602,"message":"Invalid params: \"recursive\" must be true or false"})"},
      {"list", R"({"path":"x"})", R"({"code":-2,"message":"No such path: x"})"},
      {"history", R"({"path":"data/1/power"})",
       R"({"data/1/power":[{"time":"2026-01-31T12:00:00.123Z","value":1.5},{"time":"2026-01-31T12:00:00.123Z","value":0}]})"},
      {"history", R"({"path":"data/name"})", R"({"data/name":[]})"},
  };
  for (const auto& [method, params, expected] : rows)
    EXPECT_EQ(ask(method, params), expected) << method << ' ' << params;
  EXPECT_EQ(ran, "[2]");
}

TEST_F(requests, faults_of_the_protocol) {
  const auto fault = [](int code, const std::string& text, const std::string& id = "null") {
    return fmt::format(R"({{"jsonrpc":"2.0","id":{},"error":{{"code":{},"message":"{}"}}}})", id,
                       code, text);
  };
  const std::pair<std::string, std::string> rows[] = {
      {"{", fault(-32700, "Parse error: Missing a name for object member at byte 1")},
      {"\xff", fault(-32700, "Parse error: Invalid value at byte 0")},
      {"1", fault(-32600, "Invalid request: expected an object, found 32-bit unsigned integer")},
      {"[]", fault(-32600, "Invalid request: the batch is empty")},
      {"{}", fault(-32600, R"(Invalid request: \"jsonrpc\" must be \"2.0\")")},
      {R"({"jsonrpc":"2.0","id":[],"method":"get"})",
       fault(-32600, R"(Invalid request: \"id\" must be a string, a number or null)")},
      {R"({"jsonrpc":"2.0","id":"a","method":7})",
       fault(-32600, R"(Invalid request: \"method\" must be a string)", R"("a")")},
      {R"({"jsonrpc":"2.0","id":2.5,"method":"put","params":{"path":""}})",
       fault(-32601,
             "No such method: put; there are get, set, run, reset, subscribe, unsubscribe, info, "
             "list, history",
             "2.5")},
      {R"({"jsonrpc":"2.0","id":1,"method":"get"})",
       fault(-32602, R"(Invalid params: expected an object with a \"path\")", "1")},
      {R"({"jsonrpc":"2.0","id":1,"method":"get","params":{"path":["a"]}})",
       fault(-32602, R"(Invalid params: \"path\" must be a string)", "1")},
      // Without an id nothing is answered, whatever becomes of it.
      {R"({"jsonrpc":"2.0","method":"get","params":{"path":"none"}})", ""},
      {R"({"jsonrpc":"2.0","method":"put","params":{}})", ""},
  };
  for (const auto& [line, expected] : rows)
    EXPECT_EQ(answer(line), expected) << line;
}

TEST_F(requests, batches_are_one_line) {
  const auto get = request("get", R"({"path":"data/name"})");
  const std::string got = R"({"jsonrpc":"2.0","id":1,"result":{"data/name":"node"}})";
  const std::string silent =
      R"({"jsonrpc":"2.0","method":"set","params":{"path":"data/1/power","value":4}})";
  EXPECT_EQ(answer('[' + get + ',' + silent + ',' + get + ']'), '[' + got + ',' + got + ']');
  EXPECT_EQ(ask("get", R"({"path":"data/1/power"})"), R"({"data/1/power":4})");
  EXPECT_EQ(answer('[' + silent + ']'), "");
  const auto mixed = answer("[1," + get + ']');
  EXPECT_NE(mixed.find("found 32-bit unsigned integer"), std::string::npos) << mixed;
  EXPECT_NE(mixed.find(got), std::string::npos) << mixed;

  for (const std::size_t count : {1000U, 1001U}) {
    std::string batch = "[0";
    for (std::size_t i = 1; i < count; ++i)
      batch += ",0";
    const bool refused =
        answer(batch + ']').find("a batch of 1001, the limit is 1000 requests") != batch.npos;
    EXPECT_EQ(refused, count > 1000) << count;
  }
}

TEST_F(requests, read_only_sessions_change_nothing) {
  const std::string refused = R"({"code":-13,"message":"Read-only session"})";
  const auto asked = [this](const std::string& method, const std::string& params) {
    return ask(method, params, nx::access::read_only);
  };
  for (const char* method : {"set", "run", "reset"}) {
    for (const char* path : {"data/1/power", "command/add"}) {
      const auto params = fmt::format(R"({{"path":"{}","value":{{}},"args":{{}}}})", path);
      EXPECT_EQ(asked(method, params), refused) << method << ' ' << path;
    }
  }
  EXPECT_EQ(asked("get", R"({"path":"data/1/power"})"), R"({"data/1/power":0.2})");
  EXPECT_EQ(ran, "");
}

TEST_F(requests, tell_what_a_node_threw) {
  const std::pair<std::function<std::string()>, const char*> table[] = {
      {[]() -> std::string { throw nx_error(-5, "Redis not connected."); },
       R"({"code":-5,"message":"Redis not connected."})"},
      {[]() -> std::string { throw std::runtime_error("odd"); }, R"({"code":-1,"message":"odd"})"},
      {[]() -> std::string { throw 1; }, R"({"code":-1,"message":"Unknown error!"})"},
      {[]() -> std::string { throw kvs_client_exception("READONLY"); },
       R"({"code":-1,"message":"READONLY"})"},
      {[]() -> std::string {
         throw nx_client_exception{-107, "Not connected: /tmp/x", "data/a"};
       },
       R"({"code":-1,"message":"Not connected: /tmp/x: data/a"})"},
  };
  for (const auto& [thrown, told] : table) {
    read = thrown;
    EXPECT_EQ(ask("get", R"({"path":"data/name"})"), told);
  }
}

TEST_F(requests, an_answer_has_a_limit_too) {
  read = [] { return std::string(9000000, 'x'); };
  EXPECT_EQ(answer(request("get", R"({"path":"data/name"})")),
            R"({"jsonrpc":"2.0","id":1,"error":{"code":-32600,"message":)"
            R"("Invalid request: its answer is longer than 8388608 bytes"}})");
}

// The first that finds no room and all behind it are refused, each by its id; what is refused is
// not done. What wants no answer is.
TEST_F(requests, of_a_batch_that_asks_for_too_much_are_each_answered) {
  read = [] { return std::string(3000000, 'x'); };
  std::string batch = "[";
  const auto add = [&](const std::string& id, const std::string& method,
                       const std::string& params) {
    if (batch.size() > 1) batch += ',';
    batch += fmt::format(R"({{"jsonrpc":"2.0",{}"method":"{}","params":{}}})", id, method, params);
  };
  for (int id = 1; id <= 4; ++id)
    add(fmt::format(R"("id":{},)", id), "get", R"({"path":"data/name"})");
  add(R"("id":"five",)", "set", R"({"path":"data/1/power","value":5})");
  add("", "set", R"({"path":"data/2/power","value":6})");
  const auto answers = nx::parse_json(answer(batch + ']'));
  ASSERT_EQ(answers.Size(), 5U);
  const std::string refusal =
      R"({"code":-32600,"message":"Invalid request: with its answer those of the batch are longer than 8388608 bytes"})";
  for (rapidjson::SizeType i = 0; i < answers.Size(); ++i) {
    EXPECT_EQ(answers[i].HasMember("result"), i < 2) << i;
    if (i >= 2) {
      EXPECT_EQ(nx::json_text(answers[i]["error"]), refusal);
    }
    EXPECT_EQ(nx::json_text(answers[i]["id"]), i < 4 ? std::to_string(i + 1) : "\"five\"");
  }
  EXPECT_EQ(ask("get", R"({"path":"data/1/power"})"), R"({"data/1/power":0.2})");
  EXPECT_EQ(ask("get", R"({"path":"data/2/power"})"), R"({"data/2/power":6})");
}

TEST_F(requests, carry_an_id_of_any_size_back_as_it_came) {
  const std::string digits(400, '7');
  for (const std::string& id :
       {digits, "-" + digits, "1." + digits, "1e" + digits, std::string("1.50"), std::string("1e2"),
        std::string("1E400"), std::string("-0"), std::string("18446744073709551616"),
        '"' + digits + '"'}) {
    const auto get = fmt::format(
        R"({{"params":{{"path":"data/1/power","id":3}},"jsonrpc":"2.0","id":{},"method":"get"}})",
        id);
    const auto got =
        fmt::format(R"({{"jsonrpc":"2.0","id":{},"result":{{"data/1/power":0.2}}}})", id);
    EXPECT_EQ(answer(get), got);
    EXPECT_EQ(answer("[1,[{\"id\":4}]," + get + ',' + get + ']').substr(0, 1), "[");
    EXPECT_NE(answer("[1,[{\"id\":4}]," + get + ',' + get + ']').find(got + ',' + got),
              std::string::npos);
  }
}

TEST_F(requests, write_no_string_beyond_the_limit) {
  const auto written = [this](std::size_t size, const char* form) {
    return ask("run", fmt::format(R"({{"path":"command/add","args":{}}})",
                                  fmt::format(fmt::runtime(form), std::string(size, 'x'))));
  };
  const std::string refused = R"({"code":-22,"message":"String value longer than 65536 bytes"})";
  for (const char* form : {R"("{}")", R"([1,["{}"]])", R"({{"a":"{}"}})", R"({{"{}":1}})"}) {
    EXPECT_EQ(written(65536, form), R"({"command/add":true})") << form;
    EXPECT_EQ(written(65537, form), refused) << form;
  }
}

TEST_F(requests, a_node_may_ask_the_tree_while_it_is_asked) {
  read = [this] { return ask("get", R"({"path":"data/1/power"})"); };
  EXPECT_EQ(ask("get", R"({"path":"data/*"})"), R"({"data/name":"{\"data/1/power\":0.2}"})");
}

TEST_F(requests, what_may_wait_or_takes_long_is_left_to_a_worker) {
  test::read_node::create(
      db, "device/gain", [] { return "7"; }, true);
  const nx::request_handler handler(db, nx::access::full, nullptr);
  const auto takes = [&](const std::string& line) {
    std::string out;
    const auto found = handler.answer_within(nx::effort::at_once, line, out);
    EXPECT_EQ(found == nx::effort::at_once, !out.empty());
    return found;
  };
  using enum nx::effort;
  const auto device = request("get", R"({"path":"device/gain"})");
  const auto name = request("get", R"({"path":"data/name"})");
  const auto all = request("get", R"({"path":"data/**"})");
  const auto some = request("get", R"({"path":"data/*"})");
  EXPECT_EQ(takes(name), at_once);
  EXPECT_EQ(takes(some), at_once);
  EXPECT_EQ(takes(device), waiting);
  EXPECT_EQ(takes(request("get", R"({"path":"*/gain"})")), waiting);
  EXPECT_EQ(takes(request("info", R"({"path":"device/gain"})")), at_once);
  EXPECT_EQ(takes(request("run", R"({"path":"command/add","args":{}})")), waiting);
  EXPECT_EQ(takes(request("set", R"({"path":"command/add","value":{}})")), waiting);
  EXPECT_EQ(takes(request("set", R"({"path":"device/gain","value":1})")), waiting);
  const auto write = request("set", R"({"path":"data/1/power","value":1})");
  EXPECT_EQ(takes(write), at_once);
  EXPECT_EQ(takes(request("reset", R"({"path":"data/1/power"})")), at_once);
  const auto writes = [&](int count) {
    std::string batch = '[' + write;
    for (int i = 1; i < count; ++i)
      batch += ',' + write;
    return batch + ']';
  };
  EXPECT_EQ(takes(writes(32)), at_once);
  EXPECT_EQ(takes(writes(33)), waiting) << "all of their subscribers are told meanwhile";
  EXPECT_EQ(takes('[' + name + ',' + device + ']'), waiting);
  EXPECT_EQ(takes('[' + name + ",3]"), at_once);
  EXPECT_EQ(takes(all), heavy);
  EXPECT_EQ(takes('[' + name + ',' + all + ']'), heavy);
  EXPECT_EQ(takes('[' + some + ',' + some + ',' + some + ']'), heavy);
  EXPECT_EQ(takes(request("list", R"({"path":"","recursive":true})")), heavy);
  EXPECT_EQ(takes(name + std::string(40000, ' ')), heavy);
  EXPECT_EQ(ran, "");
  // A worker for what waits leaves alone what takes long.
  std::string out;
  EXPECT_EQ(handler.answer_within(waiting, all, out), heavy);
  EXPECT_EQ(out, "");
}

}  // namespace
