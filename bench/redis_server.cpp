#include "bench/redis_server.h"

#include <unistd.h>

#include <stdexcept>

#include "bench/socket_pair.h"
#include "bench/tree_server.h"

namespace bench {
namespace {

constexpr unsigned kinds = 10;

void take_reply(redisContext& from) {
  void* reply = nullptr;
  if (redisGetReply(&from, &reply) != REDIS_OK) throw std::runtime_error(from.errstr);
  const bool failed = static_cast<redisReply*>(reply)->type == REDIS_REPLY_ERROR;
  freeReplyObject(reply);
  if (failed) throw std::runtime_error("redis-server refuses");
}

void append_get(redisContext& to, unsigned number) {
  redisAppendCommand(&to, "GET %s", value_path(number % together, 1).c_str());
}

}  // namespace

redis_server::redis_server(const std::string& folder)
    : path_(folder + "/redis"),
      child_([this, log = folder + "/redis.log"] {
        ::execlp("redis-server", "redis-server", "--port", "0", "--unixsocket", path_.c_str(),
                 "--save", "", "--appendonly", "no", "--logfile", log.c_str(), nullptr);
      }),
      connection_(connect()),
      all_("MGET") {
  for (unsigned kind = 0; kind < kinds; ++kind) {
    for (unsigned channel = 0; channel < together; ++channel) {
      redisAppendCommand(connection_.get(), "SET %s %s", value_path(channel, kind).c_str(),
                         std::to_string(-12.5F + 0.01F * static_cast<float>(channel)).c_str());
      take_reply(*connection_);
      if (kind == 0) all_ += ' ' + value_path(channel, kind);
    }
  }
}

redis_server::connection redis_server::connect() const {
  connect_to(path_);  // waits for it
  connection made(redisConnectUnix(path_.c_str()), &redisFree);
  if (!made || made->err != 0) throw std::runtime_error("no connection to redis-server");
  return made;
}

void redis_server::get() {
  append_get(*connection_, ++next_);
  take_reply(*connection_);
}

void redis_server::get_pipelined(unsigned count) {
  for (unsigned i = 0; i < count; ++i)
    append_get(*connection_, ++next_);
  for (unsigned i = 0; i < count; ++i)
    take_reply(*connection_);
}

void redis_server::get_by_pattern() {
  redisAppendCommand(connection_.get(), all_.c_str());
  take_reply(*connection_);
}

void redis_server::listen(unsigned listeners) {
  listeners_.clear();
  while (listeners_.size() < listeners) {
    auto& added = *listeners_.emplace_back(connect());
    for (unsigned i = 0; i < burst; ++i) {
      redisAppendCommand(&added, "SUBSCRIBE %s", value_path(i, 0).c_str());
      take_reply(added);
    }
  }
}

void redis_server::publish(unsigned events) {
  for (unsigned i = 0; i < events; ++i)
    redisAppendCommand(connection_.get(), "PUBLISH %s %s", value_path(i, 0).c_str(), "-12.57");
  for (int all_sent = 0; all_sent == 0;)
    redisBufferWrite(connection_.get(), &all_sent);
  for (const auto& listener : listeners_) {
    for (unsigned i = 0; i < events; ++i)
      take_reply(*listener);
  }
  for (unsigned i = 0; i < events; ++i)
    take_reply(*connection_);
}

}  // namespace bench
