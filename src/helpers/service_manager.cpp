#include "helpers/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "helpers/logger.h"

namespace helpers {

namespace {

using clock = std::chrono::steady_clock;

/// Four signs of life per period: a cycle with a hung device in it may be late.
constexpr int signs_per_period = 4;

/// For the watched thread; zero on all others and without a watchdog.
thread_local std::chrono::nanoseconds sign_interval{0};
thread_local clock::time_point last_sign;

/// The library's sd_notify blocks while the service manager does not read; this must not.
void notify(const std::string& text) {
  const char* path = std::getenv("NOTIFY_SOCKET");
  if (path == nullptr || (path[0] != '/' && path[0] != '@')) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const auto length = std::strlen(path);
  if (length >= sizeof(address.sun_path)) return;
  std::memcpy(address.sun_path, path, length);
  if (path[0] == '@') address.sun_path[0] = '\0';  // an abstract socket
  const int number = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (number < 0) return;
  ::sendto(number, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address),
           static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
  ::close(number);
}

std::string one_line(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

}  // namespace

struct service_manager::impl {
  std::mutex mutex;
  std::string status;
};

service_manager::service_manager() : impl_(std::make_unique<impl>()) {}

service_manager& service_manager::instance() {
  static service_manager the_service_manager;
  return the_service_manager;
}

void service_manager::ready() {
  notify("READY=1");
}

void service_manager::stopping() {
  notify("STOPPING=1");
}

void service_manager::status(const std::string& line) {
  const std::lock_guard lock(impl_->mutex);
  if (line == impl_->status) return;
  impl_->status = line;
  notify("STATUS=" + one_line(line));
}

void service_manager::watch_this_thread() {
  std::uint64_t period_us = 0;
  if (::sd_watchdog_enabled(0, &period_us) <= 0) return;
  sign_interval = std::chrono::microseconds(period_us) / signs_per_period;
  last_sign = {};
  alive();
}

void service_manager::give_up_this_thread(const std::string& why) {
  if (sign_interval.count() == 0) return;
  sign_interval = {};
  LUMORA_LOG(2, "The manager thread has ended, asking the service manager for a restart: {}", why);
  status("Nothing is regulated: " + why);
  notify("WATCHDOG=trigger");
}

void service_manager::alive() {
  if (sign_interval.count() == 0) return;
  const auto now = clock::now();
  if (now - last_sign < sign_interval) return;
  last_sign = now;
  notify("WATCHDOG=1");
}

std::chrono::nanoseconds service_manager::longest_silence() const {
  return sign_interval.count() == 0 ? std::chrono::nanoseconds::max() : sign_interval;
}

}  // namespace helpers
