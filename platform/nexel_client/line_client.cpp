#include "platform/nexel_client/line_client.h"

#include <netdb.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"
#include "platform/wire/line_splitter.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/socket_path.h"

namespace nx {

namespace {

using clock = std::chrono::steady_clock;
using milliseconds = std::chrono::milliseconds;

class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  descriptor& operator=(descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~descriptor() {
    if (number_ >= 0) close(number_);
  }
  int get() const { return number_; }

 private:
  int number_;
};

/// The path in the text of the params, for errors; empty if there is none.
std::string path_in(const std::string& params_text) {
  try {
    const json_document params = parse_json(params_text);
    if (params.IsObject() && params.HasMember("path")) {
      return from_json<std::string>(params["path"]);
    }
  } catch (const nx_error&) {
    // The server answers for it.
  }
  return {};
}

json_document copy_of(const json_value& value) {
  json_document copy;
  copy.CopyFrom(value, copy.GetAllocator());
  return copy;
}

}  // namespace

struct line_client::impl {
  explicit impl(std::string address) : name(std::move(address)) {}

  bool wait_for(short events, clock::time_point deadline);
  bool receive_some(clock::time_point deadline);
  std::optional<std::string> line_before(clock::time_point deadline);
  std::optional<json_document> message_before(clock::time_point deadline);
  [[noreturn]] void ended() const;

  std::string name;
  descriptor socket{-1};
  line_splitter lines{limits::output_bytes_per_session};
  std::deque<json_document> events;
  std::uint64_t last_id = 0;
};

void line_client::impl::ended() const {
  throw nx_client_exception{nx_error::not_connected, "Not connected: " + name, {}};
}

bool line_client::impl::wait_for(short events_wanted, clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - clock::now()).count();
    pollfd ready{socket.get(), events_wanted, 0};
    const int count = poll(&ready, 1, left > 0 ? static_cast<int>(left) : 0);
    if (count > 0) return true;
    if (count == 0) return false;
    if (errno != EINTR) ended();
  }
}

bool line_client::impl::receive_some(clock::time_point deadline) {
  if (!wait_for(POLLIN, deadline)) return false;
  char bytes[16 * 1024];
  const ssize_t size = recv(socket.get(), bytes, sizeof(bytes), 0);
  if (size < 0 && errno == EINTR) return true;
  if (size <= 0) ended();
  lines.append({bytes, static_cast<std::size_t>(size)});
  return true;
}

std::optional<std::string> line_client::impl::line_before(clock::time_point deadline) {
  for (;;) {
    while (auto line = lines.next()) {
      if (!line->too_long) return std::string(line->text);
    }
    if (!receive_some(deadline)) return std::nullopt;
  }
}

std::optional<json_document> line_client::impl::message_before(clock::time_point deadline) {
  auto line = line_before(deadline);
  if (!line) return std::nullopt;
  try {
    return parse_json(*line);
  } catch (const nx_error& error) {
    throw nx_client_exception{error.code, name + " sends no JSON: " + error.message, {}};
  }
}

line_client::line_client() = default;
line_client::~line_client() = default;

std::unique_ptr<line_client> line_client::connect_unix(const std::string& socket_path) {
  const std::string path = rooted_path(socket_path);
  std::unique_ptr<line_client> client(new line_client);
  client->impl_ = std::make_unique<impl>(path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) client->impl_->ended();
  std::memcpy(address.sun_path, path.c_str(), path.size());
  descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (connect(socket.get(), generic, sizeof(address)) != 0) client->impl_->ended();
  client->impl_->socket = std::move(socket);
  return client;
}

std::unique_ptr<line_client> line_client::connect_tcp(const std::string& host, unsigned port) {
  std::unique_ptr<line_client> client(new line_client);
  client->impl_ = std::make_unique<impl>("[" + host + "]:" + std::to_string(port));
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) != 0) {
    client->impl_->ended();
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, &freeaddrinfo);
  for (const addrinfo* one = found; one; one = one->ai_next) {
    descriptor socket(::socket(one->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (connect(socket.get(), one->ai_addr, one->ai_addrlen) != 0) continue;
    client->impl_->socket = std::move(socket);
    return client;
  }
  client->impl_->ended();
}

json_document line_client::call(const std::string& method, const std::string& params_text,
                                std::chrono::milliseconds timeout) {
  const auto deadline = clock::now() + timeout;
  const auto id = ++impl_->last_id;
  send_raw(json_rpc::request(id, method, params_text) + "\n");
  while (auto message = impl_->message_before(deadline)) {
    if (!message->IsObject()) continue;
    if (message->HasMember("method")) {
      impl_->events.push_back(std::move(*message));
      continue;
    }
    // An answer without an id is for a request that the server could not read: this one. An older
    // id is a late answer to a call that has failed.
    const auto* answered = member_of(*message, "id");
    if (answered && answered->IsUint64() && answered->GetUint64() != id) continue;
    if (const auto* result = member_of(*message, "result")) return copy_of(*result);
    const json_value none;
    const auto* error = member_of(*message, "error");
    const auto fault = json_rpc::error_from_value(error ? *error : none);
    throw nx_client_exception{fault.code, fault.message, path_in(params_text)};
  }
  throw nx_client_exception{nx_error::no_answer, "No answer in time: " + impl_->name,
                            path_in(params_text)};
}

std::optional<json_document> line_client::next_event(std::chrono::milliseconds timeout) {
  const auto deadline = clock::now() + timeout;
  if (!impl_->events.empty()) {
    auto event = std::move(impl_->events.front());
    impl_->events.pop_front();
    return event;
  }
  while (auto message = impl_->message_before(deadline)) {
    if (message->IsObject() && message->HasMember("method")) return message;
  }
  return std::nullopt;
}

// Nothing is read meanwhile, so a server that stops reading is given up after a while.
void line_client::send_raw(const std::string& bytes) {
  constexpr std::chrono::seconds patience{30};
  const auto deadline = clock::now() + patience;
  std::string_view rest = bytes;
  while (!rest.empty()) {
    if (!impl_->wait_for(POLLOUT, deadline)) impl_->ended();
    const ssize_t sent =
        send(impl_->socket.get(), rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) impl_->ended();
    if (sent > 0) rest.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void line_client::end_sending() {
  shutdown(impl_->socket.get(), SHUT_WR);
}

std::optional<std::string> line_client::read_line(std::chrono::milliseconds timeout) {
  return impl_->line_before(clock::now() + timeout);
}

}  // namespace nx
