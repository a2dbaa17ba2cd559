#include <fmt/format.h>
#include <hiredis/hiredis.h>

#include <cerrno>
#include <optional>
#include <vector>

#include "platform/kvs_client/connection.h"

namespace {

struct free_context {
  void operator()(redisContext* context) const { redisFree(context); }
};
struct free_reply {
  void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using context_ptr = std::unique_ptr<redisContext, free_context>;
using reply_ptr = std::unique_ptr<redisReply, free_reply>;

const std::string default_user = "default";

timeval to_timeval(kvs_timeout timeout) {
  return {static_cast<time_t>(timeout.tenths / 10),
          static_cast<suseconds_t>(timeout.tenths % 10) * 100000};
}

context_ptr connect_to(const kvs::endpoint& where, kvs_timeout timeout) {
  const auto limit = to_timeval(timeout);
  if (where.type == kvs::endpoint::kind::unix_socket) {
    return context_ptr(redisConnectUnixWithTimeout(where.address.c_str(), limit));
  }
  return context_ptr(redisConnectWithTimeout(where.address.c_str(), where.port, limit));
}

/// A connection to the server. Three states: not connected yet, connected, dead. An answer that is
/// an error of the store leaves it connected; a failed exchange leaves it dead, since an answer
/// that comes late would be taken for the next one's.
class server_connection : public kvs_client::connection {
 public:
  server_connection(std::string server_url, std::string name)
      : secret_url(std::move(server_url)),
        url(kvs::without_password(secret_url)),
        client_name(std::move(name)) {}

  bool ping(kvs_timeout timeout) override {
    const auto reply = exchange("ping", timeout, {"PING"});
    require_no_refusal(*reply);
    return reply->type == REDIS_REPLY_STATUS && text_of(*reply) == "PONG";
  }

  std::vector<kvs_client::answer> ping_and_get(const std::vector<std::string>& keys,
                                               kvs_timeout timeout) override {
    make_ready("ping", timeout);
    append({"PING"});
    for (const auto& key : keys)
      append({"GET", key});
    const auto pong = next_reply("ping", timeout);
    std::vector<kvs_client::answer> answers{
        {pong->type == REDIS_REPLY_STATUS ? text_of(*pong) : std::string(), {}}};
    for (const auto& key : keys) {
      const auto what = "get " + key;
      const auto reply = next_reply(what, timeout);
      try {
        answers.push_back({read_text(what, *reply), {}});
      } catch (const kvs_client_exception& error) {
        answers.push_back({{}, error.what()});
      }
    }
    require_no_refusal(*pong);  // only now: nothing may be left that the next exchange would take
    return answers;
  }

  std::string get(const std::string& key, kvs_timeout timeout) override {
    const auto what = "get " + key;
    return read_text(what, *exchange(what, timeout, {"GET", key}));
  }

  void set(const std::string& key, const std::string& value, kvs_timeout timeout) override {
    const auto what = "set " + key;
    const auto reply = exchange(what, timeout, {"SET", key, value});
    require_type(what, *reply, REDIS_REPLY_STATUS);
  }

 private:
  static std::string text_of(const redisReply& reply) { return {reply.str, reply.len}; }

  static void require_type(const std::string& what, const redisReply& reply, int type) {
    if (reply.type == type) return;
    const auto text = reply.type == REDIS_REPLY_ERROR ? text_of(reply) : "unexpected answer";
    throw kvs_client_exception(fmt::format("{}: {}", what, text));
  }

  static std::string read_text(const std::string& what, const redisReply& reply) {
    if (reply.type == REDIS_REPLY_NIL) return {};
    require_type(what, reply, REDIS_REPLY_STRING);
    return text_of(reply);
  }

  reply_ptr exchange(const std::string& what, kvs_timeout timeout,
                     const std::vector<std::string>& words) {
    make_ready(what, timeout);
    append(words);
    return next_reply(what, timeout);
  }

  void make_ready(const std::string& what, kvs_timeout timeout) {
    require_alive(what);
    if (!context) connect(timeout);
    redisSetTimeout(context.get(), to_timeval(timeout));
  }

  /// Commands go out together with the first wait for a reply.
  void append(const std::vector<std::string>& words) {
    std::vector<const char*> texts;
    std::vector<std::size_t> sizes;
    for (const auto& word : words) {
      texts.push_back(word.data());
      sizes.push_back(word.size());
    }
    redisAppendCommandArgv(context.get(), static_cast<int>(words.size()), texts.data(),
                           sizes.data());
  }

  reply_ptr next_reply(const std::string& what, kvs_timeout timeout) {
    void* reply = nullptr;
    if (redisGetReply(context.get(), &reply) != REDIS_OK || reply == nullptr) die(what, timeout);
    return reply_ptr(static_cast<redisReply*>(reply));
  }

  void connect(kvs_timeout timeout) {
    const auto where = kvs::parse_endpoint(secret_url);
    context = connect_to(where, timeout);
    if (!context) throw kvs_client_exception("no memory for a connection to " + url);
    if (context->err != 0) die("connect", timeout);
    if (where.login) log_in(*where.login, timeout);
    if (client_name.empty()) return;
    redisSetTimeout(context.get(), to_timeval(timeout));
    // The name is for whoever looks at the store's client list; a refusal does no harm.
    append({"CLIENT", "SETNAME", client_name});
    next_reply("connect", timeout);
  }

  void log_in(const kvs::credentials& login, kvs_timeout timeout) {
    redisSetTimeout(context.get(), to_timeval(timeout));
    // By its name: a default user without a password then takes any.
    const auto& user = login.user.empty() ? default_user : login.user;
    const reply_ptr reply(
        static_cast<redisReply*>(redisCommand(context.get(), "AUTH %b %b", user.data(), user.size(),
                                              login.password.data(), login.password.size())));
    if (!reply) die("connect", timeout);
    if (reply->type != REDIS_REPLY_ERROR) return;
    context.reset();
    throw kvs_client_exception(
        fmt::format("connect: {}: the store refuses the password: {}", url, text_of(*reply)));
  }

  /// A store that answers but is not to be used tells why; nobody would learn it from a "no".
  void require_no_refusal(const redisReply& reply) const {
    if (reply.type != REDIS_REPLY_ERROR) return;
    const auto text = text_of(reply);
    const char* meaning = "";
    if (text.starts_with("NOAUTH")) meaning = "the store wants a password, KVS_URL has none: ";
    if (text.starts_with("LOADING")) meaning = "the store is loading its data: ";
    throw kvs_client_exception(fmt::format("ping: {}: {}{}", url, meaning, text));
  }

  void require_alive(const std::string& what) const {
    if (!death) return;
    throw kvs_client_exception(fmt::format("{}: connection to {} is dead: {}", what, url, *death));
  }

  [[noreturn]] void die(const std::string& what, kvs_timeout timeout) {
    const bool late = context->err == REDIS_ERR_IO && (errno == EAGAIN || errno == EINPROGRESS);
    death = late ? fmt::format("no answer within {:.1f} s", timeout.tenths / 10.0)
                 : std::string(context->errstr);
    context.reset();
    throw kvs_client_exception(fmt::format("{}: {}: {}", what, url, *death));
  }

  std::string secret_url;
  std::string url;  // for texts
  std::string client_name;
  context_ptr context;
  std::optional<std::string> death;
};

}  // namespace

namespace kvs {

std::unique_ptr<kvs_client::connection> make_server_connection(std::string url,
                                                               std::string client_name) {
  return std::make_unique<server_connection>(std::move(url), std::move(client_name));
}

}  // namespace kvs
