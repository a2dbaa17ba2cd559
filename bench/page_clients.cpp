#include "bench/page_clients.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <string_view>

#include "bench/process_use.h"

namespace bench {
namespace {

int open_stream(unsigned port, const std::string& query) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(port));
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::connect(socket, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == 0,
          "no connection to the gateway");
  const auto request =
      fmt::format("GET /api/v1/events?{} HTTP/1.1\r\nHost: localhost\r\n\r\n", query);
  require(::send(socket, request.data(), request.size(), MSG_NOSIGNAL) ==
              static_cast<ssize_t>(request.size()),
          "a stream is refused");
  return socket;
}

// data: {"path":"...","time":"2026-01-31T12:00:00.123Z",...
std::optional<std::chrono::system_clock::time_point> time_of(const std::string& line) {
  constexpr std::string_view before = R"(,"time":")";
  const auto at = line.find(before);
  if (!line.starts_with("data: ") || at == line.npos) return std::nullopt;
  std::tm day{};
  const char* rest = ::strptime(line.c_str() + at + before.size(), "%Y-%m-%dT%H:%M:%S", &day);
  if (!rest || *rest != '.') return std::nullopt;
  return std::chrono::system_clock::from_time_t(::timegm(&day)) +
         std::chrono::milliseconds(std::atoi(rest + 1));
}

}  // namespace

page_clients::page_clients(unsigned count, unsigned port, const std::string& query)
    : clients_(count) {
  for (auto& one : clients_)
    one.socket = open_stream(port, query);
  reader_ = std::jthread([this](const std::stop_token& stop) {
    while (!stop.stop_requested())
      read_all();
  });
}

page_clients::~page_clients() {
  reader_.request_stop();
  reader_.join();
  for (const auto& one : clients_)
    ::close(one.socket);
}

void page_clients::read_all() {
  std::vector<pollfd> waiting;
  for (const auto& one : clients_)
    waiting.push_back({one.socket, POLLIN, 0});
  if (::poll(waiting.data(), waiting.size(), 100) <= 0) return;
  std::array<char, 64 * 1024> bytes;
  for (std::size_t i = 0; i < clients_.size(); ++i) {
    if (waiting[i].revents == 0) continue;
    const auto size = ::recv(clients_[i].socket, bytes.data(), bytes.size(), 0);
    if (size > 0) take(clients_[i], bytes.data(), static_cast<std::size_t>(size));
  }
}

void page_clients::take(client& from, const char* bytes, std::size_t size) {
  for (const char c : std::string_view(bytes, size)) {
    if (c != '\n') {
      from.line += c;
      continue;
    }
    note(from.line);
    from.line.clear();
  }
}

void page_clients::note(const std::string& line) {
  const auto now = clock::now();
  const auto time = time_of(line);
  const std::lock_guard lock(mutex_);
  if (!time || *time < since_) return;
  ++found_.events;
  found_.latest =
      std::max(found_.latest, std::chrono::duration_cast<std::chrono::milliseconds>(now - *time));
}

void page_clients::begin() {
  const std::lock_guard lock(mutex_);
  since_ = clock::now();
  found_ = {};
}

page_clients::figures page_clients::end() {
  const std::lock_guard lock(mutex_);
  since_ = clock::time_point::max();
  return found_;
}

}  // namespace bench
