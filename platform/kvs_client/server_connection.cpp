#include <fcntl.h>
#include <fmt/format.h>
#include <hiredis/hiredis.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/kvs_client/connection.h"

namespace {

using clock = std::chrono::steady_clock;
using time_point = clock::time_point;

// The largest value in this system, a channel plan, takes about 10 KiB.
constexpr std::size_t most_answer_bytes = 4 * 1024 * 1024;

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

std::atomic<time_point> no_answers_from{time_point::max()};

context_ptr connect_to(const kvs::endpoint& where, kvs_timeout timeout) {
  const auto limit = to_timeval(timeout);
  if (where.type == kvs::endpoint::kind::unix_socket) {
    return context_ptr(redisConnectUnixWithTimeout(where.address.c_str(), limit));
  }
  return context_ptr(redisConnectWithTimeout(where.address.c_str(), where.port, limit));
}

/// A connection to the server with three states: not connected yet, connected, dead. An error
/// answered by the store leaves it connected; a failed exchange leaves it dead, since a late answer
/// would be taken for that of the next exchange.
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
    const auto pong = next_reply("ping");
    std::vector<kvs_client::answer> answers{
        {pong->type == REDIS_REPLY_STATUS ? text_of(*pong) : std::string(), {}}};
    for (const auto& key : keys) {
      const auto what = "get " + key;
      const auto reply = next_reply(what);
      try {
        answers.push_back({read_text(what, *reply), {}});
      } catch (const kvs_client_exception& error) {
        answers.push_back({{}, error.what()});
      }
    }
    require_no_refusal(*pong);  // only now: nothing may remain that the next exchange would read
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
    return next_reply(what);
  }

  /// The commands of an exchange share one deadline: a store that answers byte by byte gains
  /// nothing.
  void make_ready(const std::string& what, kvs_timeout timeout) {
    require_alive(what);
    limit = timeout;
    deadline = clock::now() + std::chrono::milliseconds(100) * timeout.tenths;
    if (!context) connect();
  }

  /// Commands are sent with the first wait for a reply.
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

  reply_ptr next_reply(const std::string& what) {
    for (int done = 0; done == 0;) {
      if (redisBufferWrite(context.get(), &done) != REDIS_OK) die(what, context->errstr);
      if (done == 0) wait_for(POLLOUT, what);
    }
    return read_reply(what);
  }

  reply_ptr read_reply(const std::string& what) {
    auto* reader = context->reader;
    bool begun = false;
    for (std::size_t received = 0; received <= most_answer_bytes;) {
      if (!begun && reader->len > reader->pos) {
        begun = true;
        if (!is_expected(reader->buf[reader->pos])) die(what, "unexpected answer");
      }
      void* reply = nullptr;
      if (redisGetReplyFromReader(context.get(), &reply) != REDIS_OK) die(what, context->errstr);
      if (reply != nullptr) return reply_ptr(static_cast<redisReply*>(reply));
      wait_for(POLLIN, what);
      const auto before = reader->len;
      if (redisBufferRead(context.get()) != REDIS_OK) die(what, context->errstr);
      received += reader->len - before;
    }
    die(what, fmt::format("an answer longer than {} bytes", most_answer_bytes));
  }

  // A text, an error, a number or a value. No command here is answered by a list, whose announced
  // length the reader would trust.
  static bool is_expected(char first) {
    return std::string_view("+-:$").find(first) != std::string_view::npos;
  }

  void wait_for(short events, const std::string& what) {
    constexpr std::chrono::milliseconds look{50};  // whether the process is about to exit
    for (;;) {
      const auto left = std::min(deadline, no_answers_from.load()) - clock::now();
      if (left <= clock::duration::zero()) die(what, late());
      const auto wait =
          std::chrono::ceil<std::chrono::milliseconds>(std::min<clock::duration>(left, look));
      pollfd ready{.fd = context->fd, .events = events, .revents = 0};
      if (::poll(&ready, 1, static_cast<int>(wait.count())) > 0) return;
    }
  }

  void connect() {
    const auto where = kvs::parse_endpoint(secret_url);
    context = connect_to(where, limit);
    if (!context) throw kvs_client_exception("no memory for a connection to " + url);
    if (context->err != 0) {
      const bool slow = context->err == REDIS_ERR_IO && (errno == EAGAIN || errno == EINPROGRESS);
      die("connect", slow ? late() : std::string(context->errstr));
    }
    ::fcntl(context->fd, F_SETFL, ::fcntl(context->fd, F_GETFL) | O_NONBLOCK);
    context->flags &= ~REDIS_BLOCK;
    if (where.login) log_in(*where.login);
    if (client_name.empty()) return;
    // The name is for people who look at the store's client list; a refusal does no harm.
    append({"CLIENT", "SETNAME", client_name});
    next_reply("connect");
  }

  void log_in(const kvs::credentials& login) {
    // By its name: a default user without a password then accepts any.
    append({"AUTH", login.user.empty() ? default_user : login.user, login.password});
    const auto reply = next_reply("connect");
    if (reply->type != REDIS_REPLY_ERROR) return;
    context.reset();
    throw kvs_client_exception(
        fmt::format("connect: {}: the store refuses the password: {}", url, text_of(*reply)));
  }

  std::string late() const { return fmt::format("no answer within {:.1f} s", limit.tenths / 10.0); }

  /// A store that answers but must not be used says why; otherwise nobody would learn it.
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

  [[noreturn]] void die(const std::string& what, const std::string& reason) {
    death = reason;
    context.reset();
    throw kvs_client_exception(fmt::format("{}: {}: {}", what, url, reason));
  }

  std::string secret_url;
  std::string url;  // for texts
  std::string client_name;
  context_ptr context;
  kvs_timeout limit = 0;
  time_point deadline;
  std::optional<std::string> death;
};

}  // namespace

namespace kvs {

void announce_end(std::chrono::milliseconds patience) {
  no_answers_from = clock::now() + patience;
}

std::unique_ptr<kvs_client::connection> make_server_connection(std::string url,
                                                               std::string client_name) {
  return std::make_unique<server_connection>(std::move(url), std::move(client_name));
}

}  // namespace kvs
