#include "tests/support/private_redis.h"

#include <hiredis/hiredis.h>
#include <signal.h>

#include <stdexcept>

namespace test {

private_redis::private_redis(const std::string& folder) : folder_(folder) {}

void private_redis::start() {
  server = std::make_unique<process>(
      process::settings{{"redis-server", "--port", "0", "--unixsocket", folder_ + "/kvs.sock",
                         "--save", "", "--appendonly", "no", "--dir", folder_, "--daemonize", "no"},
                        {},
                        {}});
  if (!server->wait_for("eady to accept connections")) {
    throw std::runtime_error("redis-server does not start: " + server->output());
  }
}

void private_redis::stop() {
  server.reset();
}

void private_redis::hang() {
  server->signal(SIGSTOP);
}

void private_redis::go_on() {
  server->signal(SIGCONT);
}

std::string private_redis::url() const {
  return "unix://" + folder_ + "/kvs.sock";
}

void private_redis::set(const std::string& key, const std::string& value) const {
  command({"SET", key, value});
}

std::string private_redis::get(const std::string& key) const {
  return command({"GET", key});
}

std::string private_redis::command(const std::vector<std::string>& words) const {
  const std::unique_ptr<redisContext, decltype(&redisFree)> context(
      redisConnectUnix((folder_ + "/kvs.sock").c_str()), &redisFree);
  if (!context || context->err != 0) throw std::runtime_error("no connection to redis-server");
  std::vector<const char*> texts;
  std::vector<std::size_t> sizes;
  for (const auto& word : words) {
    texts.push_back(word.data());
    sizes.push_back(word.size());
  }
  auto* reply = static_cast<redisReply*>(
      redisCommandArgv(context.get(), static_cast<int>(words.size()), texts.data(), sizes.data()));
  if (reply == nullptr) throw std::runtime_error("redis-server does not answer");
  const std::string text(reply->str != nullptr ? reply->str : "", reply->len);
  freeReplyObject(reply);
  return text;
}

}  // namespace test
