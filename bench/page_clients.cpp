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

int connect_to(unsigned port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(port));
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::connect(socket, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == 0,
          "no connection to the gateway");
  return socket;
}

bool send_get(int socket, const char* address, const std::string& query) {
  const auto request =
      fmt::format("GET /api/v1/{}?{} HTTP/1.1\r\nHost: localhost\r\n\r\n", address, query);
  return ::send(socket, request.data(), request.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(request.size());
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

page_clients::page_clients(unsigned count, unsigned port, const std::string& watched,
                           std::string asked, std::chrono::milliseconds pace)
    : asked_(std::move(asked)), pace_(pace), clients_(count) {
  auto next = std::chrono::steady_clock::now();
  for (auto& one : clients_) {
    one.stream = connect_to(port);
    require(send_get(one.stream, "events", watched), "a stream is refused");
    one.questions = connect_to(port);
    one.next = next += pace_ / count;  // people do not open their pages together
  }
  reader_ = std::jthread([this](const std::stop_token& stop) {
    while (!stop.stop_requested())
      read_all();
  });
}

page_clients::~page_clients() {
  reader_.request_stop();
  reader_.join();
  for (const auto& one : clients_) {
    ::close(one.stream);
    ::close(one.questions);
  }
}

void page_clients::read_all() {
  std::vector<pollfd> waiting;
  for (auto& one : clients_) {
    ask(one);
    waiting.push_back({one.stream, POLLIN, 0});
    waiting.push_back({one.questions, POLLIN, 0});
  }
  constexpr int soon = 20;  // ms, until somebody asks
  if (::poll(waiting.data(), waiting.size(), soon) <= 0) return;
  std::array<char, 64 * 1024> bytes;
  for (std::size_t i = 0; i < waiting.size(); ++i) {
    if (waiting[i].revents == 0) continue;
    const auto size = ::recv(waiting[i].fd, bytes.data(), bytes.size(), 0);
    if (size > 0 && i % 2 == 0) take(clients_[i / 2], bytes.data(), static_cast<std::size_t>(size));
  }
}

void page_clients::ask(client& one) const {
  if (std::chrono::steady_clock::now() < one.next) return;
  one.next += pace_;
  send_get(one.questions, "values", asked_);
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
