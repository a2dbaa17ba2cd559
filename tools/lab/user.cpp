#include "tools/lab/user.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace tools::lab {

user::user() {
  sigset_t watched;
  sigemptyset(&watched);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGWINCH, SIGCHLD})
    sigaddset(&watched, signal);
  pthread_sigmask(SIG_BLOCK, &watched, &before_);
  signals_ = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
}

user::~user() {
  close(signals_);
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

user::event user::signalled() {
  signalfd_siginfo info{};
  auto newest = event::none;
  while (read(signals_, &info, sizeof info) == sizeof info) {
    const auto signal = static_cast<int>(info.ssi_signo);
    if (signal == SIGWINCH) newest = event::resized;
    if (signal == SIGINT || signal == SIGTERM || signal == SIGHUP || signal == SIGPIPE) {
      return event::quit;
    }
  }
  return newest;
}

user::event user::next_key() {
  pressed_ = take_key(typed_);
  return pressed_ == key::quit ? event::quit : event::key;
}

user::event user::read_keys() {
  std::array<char, 64> bytes{};
  const auto count = read(STDIN_FILENO, bytes.data(), bytes.size());
  if (count <= 0) {
    keys_ = false;  // the terminal is gone; signals still end the lab
    return event::none;
  }
  typed_.append(bytes.data(), static_cast<std::size_t>(count));
  return next_key();
}

user::event user::wait(std::chrono::milliseconds time) {
  if (!typed_.empty()) return next_key();
  std::array<pollfd, 2> sources{pollfd{signals_, POLLIN, 0}, pollfd{STDIN_FILENO, POLLIN, 0}};
  const auto milliseconds = static_cast<int>(std::max<long>(time.count(), 0));
  if (poll(sources.data(), keys_ ? 2 : 1, milliseconds) <= 0) return event::none;
  if (sources[0].revents != 0) {
    const auto happened = signalled();
    if (happened != event::none) return happened;
  }
  return keys_ && sources[1].revents != 0 ? read_keys() : event::none;
}

}  // namespace tools::lab
