#include "scripted_server.h"

#include <netinet/in.h>
#include <rapidjson/document.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "platform/wire/json_conversion.h"
#include "platform/wire/line_splitter.h"

namespace client_test {

namespace {

std::string path_of(const nx::json_value& request) {
  return nx::from_json<std::string>(request["params"]["path"]);
}

template <class Address>
void bind_and_listen(int listener, const Address& address) {
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (bind(listener, generic, sizeof(address)) != 0 || listen(listener, 8) != 0) {
    throw std::runtime_error("scripted server: " + std::generic_category().message(errno));
  }
}

}  // namespace

std::string scripted_server::answer(const nx::json_value& request) {
  const std::string method = request["method"].GetString();
  return result(request, method == "get" ? "{\"" + path_of(request) + "\":1}" : "{}");
}

std::string scripted_server::result(const nx::json_value& request, const std::string& json) {
  if (!request.HasMember("id")) return {};
  return R"({"jsonrpc":"2.0","id":)" + nx::json_text(request["id"]) + R"(,"result":)" + json +
         "}\n";
}

scripted_server::scripted_server(const std::string& socket_path, script does)
    : listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), script_(std::move(does)) {
  unlink(socket_path.c_str());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socket_path.c_str(), sizeof(address.sun_path) - 1);
  bind_and_listen(listener_, address);
  thread_ = std::thread([this] { serve(); });
}

scripted_server::scripted_server(script does)
    : listener_(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0)), script_(std::move(does)) {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  bind_and_listen(listener_, address);
  socklen_t size = sizeof(address);
  getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
  port_ = ntohs(address.sin6_port);
  thread_ = std::thread([this] { serve(); });
}

scripted_server::~scripted_server() {
  {
    std::lock_guard lock(mutex_);
    ending_ = true;
  }
  shutdown(listener_, SHUT_RDWR);  // ends the accept, but not before those that queue have come
  drop_connection();
  thread_.join();
  close(listener_);
}

void scripted_server::set_script(script does) {
  std::lock_guard lock(mutex_);
  script_ = std::move(does);
}

void scripted_server::send(const std::string& bytes) {
  std::lock_guard lock(mutex_);
  std::string_view rest = bytes;
  while (!rest.empty()) {
    const ssize_t sent = ::send(connection_, rest.data(), rest.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    rest.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void scripted_server::drop_connection() {
  std::lock_guard lock(mutex_);
  if (connection_ >= 0) shutdown(connection_, SHUT_RDWR);
}

void scripted_server::serve() {
  for (;;) {
    const int accepted = accept(listener_, nullptr, nullptr);
    if (accepted < 0) return;
    {
      std::lock_guard lock(mutex_);
      connection_ = accepted;
      if (ending_) shutdown(accepted, SHUT_RDWR);
    }
    seen.note("connected");
    serve_connection();
    std::lock_guard lock(mutex_);
    close(std::exchange(connection_, -1));
  }
}

void scripted_server::serve_connection() {
  nx::line_splitter lines(1024 * 1024);
  for (std::string bytes = read_some(); !bytes.empty(); bytes = read_some()) {
    lines.append(bytes);
    while (auto line = lines.next())
      handle(std::string(line->text));
  }
}

std::string scripted_server::read_some() {
  std::string bytes(256 * 1024, '\0');
  const ssize_t size = recv(connection_, bytes.data(), bytes.size(), 0);
  bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return bytes;
}

void scripted_server::handle(const std::string& line) {
  const auto request = nx::parse_json(line);
  script does;
  {
    std::lock_guard lock(mutex_);
    does = script_;
  }
  const std::string reply = does(request);
  seen.note(std::string(request["method"].GetString()) + " " + path_of(request));
  if (!reply.empty()) send(reply);
}

}  // namespace client_test
