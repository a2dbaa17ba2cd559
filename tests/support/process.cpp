#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "tools/common/spawn.h"

namespace test {

namespace {

std::vector<std::string> environment_of(const process::settings& what) {
  std::map<std::string, std::string> variables;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    const auto equals = text.find('=');
    if (equals != std::string::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
  }
  for (const auto& name : what.unset)
    variables.erase(name);
  for (const auto& [name, value] : what.environment)
    variables[name] = value;
  std::vector<std::string> texts;
  for (const auto& [name, value] : variables)
    texts.push_back(name + "=" + value);
  return texts;
}

int as_the_shell_tells(int wait_status) {
  return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

unsigned occurrences_in(const std::string& text, const std::string& wanted) {
  unsigned found = 0;
  for (auto at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) {
    ++found;
  }
  return found;
}

}  // namespace

process::process(const settings& what) {
  std::array<int, 2> output{};
  if (::pipe2(output.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pid_ = tools::spawn(
      {.command = what.command, .environment = environment_of(what), .output = output[1]});
  ::close(output[1]);
  if (pid_ < 0) throw std::runtime_error("no process for " + what.command.front());
  stop_event = ::eventfd(0, EFD_CLOEXEC);
  const int exit_end = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
  collector = std::thread([this, from = output[0], exit_end] { collect(from, exit_end); });
}

process::~process() {
  signal(SIGTERM);
  if (!wait_for_exit(std::chrono::seconds(10))) {
    signal(SIGKILL);
    wait_for_exit();
  }
  const std::uint64_t one = 1;
  if (::write(stop_event, &one, sizeof one) < 0) ::perror("stop of a collector");
  collector.join();
  ::close(stop_event);
}

void process::signal(int number) {
  const std::lock_guard lock(mutex);
  if (!exit_status) ::kill(pid_, number);
}

bool process::wait_for(const std::string& text, unsigned occurrences) {
  std::unique_lock lock(mutex);
  const auto found = [&] { return occurrences_in(text_so_far, text) >= occurrences; };
  changed.wait_for(lock, patience, [&] { return found() || exit_status.has_value(); });
  return found();
}

std::optional<int> process::wait_for_exit(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex);
  changed.wait_for(lock, limit, [&] { return exit_status.has_value(); });
  return exit_status;
}

std::string process::output() {
  const std::lock_guard lock(mutex);
  return text_so_far;
}

unsigned process::count(const std::string& text) {
  return occurrences_in(output(), text);
}

std::string process::last_lines() {
  const auto all = output();
  std::size_t begin = all.size();
  for (int lines = 0; lines <= 20 && begin != std::string::npos && begin > 0; ++lines) {
    begin = all.rfind('\n', begin - 1);
  }
  return begin == std::string::npos || begin == 0 ? all : all.substr(begin + 1);
}

void process::append_output(int output_end, bool& open) {
  std::array<char, 4096> buffer;
  const auto size = ::read(output_end, buffer.data(), buffer.size());
  open = size > 0;
  if (!open) return;
  const std::lock_guard lock(mutex);
  text_so_far.append(buffer.data(), static_cast<std::size_t>(size));
  changed.notify_all();
}

/// The exit is reported once the output is complete, as far as the process itself wrote it; output
/// that its own children still hold open is not waited for.
void process::collect(int output_end, int exit_end) {
  bool open = true;
  bool stopping = false;
  while (!stopping) {
    std::array<pollfd, 3> ends{pollfd{stop_event, POLLIN, 0}, pollfd{exit_end, POLLIN, 0},
                               pollfd{open ? output_end : -1, POLLIN, 0}};
    ::poll(ends.data(), ends.size(), -1);
    stopping = ends[0].revents != 0;
    if (ends[2].revents != 0) {
      append_output(output_end, open);
    } else if (ends[1].revents != 0) {
      int wait_status = 0;
      ::waitpid(pid_, &wait_status, 0);
      ::close(exit_end);
      exit_end = -1;
      const std::lock_guard lock(mutex);
      exit_status = as_the_shell_tells(wait_status);
      changed.notify_all();
    }
  }
  ::close(output_end);
}

finished run(const process::settings& what) {
  process child(what);
  const auto status = child.wait_for_exit();
  if (!status) throw std::runtime_error(what.command.front() + " does not end");
  return {*status, child.output()};
}

}  // namespace test
