#include "tools/lab/child_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <fstream>
#include <system_error>

#include "tools/common/spawn.h"
#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

std::vector<std::string> merged_environment(const std::vector<std::string>& more) {
  std::vector<std::string> merged = more;
  for (char** entry = environ; *entry != nullptr; ++entry)
    merged.emplace_back(*entry);
  return merged;
}

std::string end_text(int status) {
  if (WIFSIGNALED(status)) {
    const char* name = sigdescr_np(WTERMSIG(status));
    return fmt::format("signal {} ({})", WTERMSIG(status), name != nullptr ? name : "no name");
  }
  const int code = WEXITSTATUS(status);
  return fmt::format("exit status {}{}", code, code == cannot_run ? " (cannot be run)" : "");
}

/// "TIME severity PLACE: TEXT" of a lower severity is ignored.
bool is_complaint(const std::string& line) {
  const auto first = line.find(' ');
  if (line.empty() || first == line.npos) return !line.empty();
  const auto severity = line.substr(first + 1, line.find(' ', first + 1) - first - 1);
  return severity != "info" && severity != "warning" && severity != "debug";
}

}  // namespace

child_process::child_process(program what) : what_(std::move(what)) {
  const int log = open(what_.log_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (log < 0) {
    throw lab_failure(
        fmt::format("cannot write {}: {}", what_.log_file, std::generic_category().message(errno)));
  }
  pid_ = spawn({.command = what_.command,
                .environment = merged_environment(what_.environment),
                .output = log,
                .away_from_terminal = true});
  close(log);
  if (pid_ < 0)
    throw lab_failure(
        fmt::format("cannot start {}: {}", name(), std::generic_category().message(errno)));
}

child_process::~child_process() {
  terminate();
  if (reap_within(grace)) return;
  kill(pid_, SIGKILL);
  reap(true);
}

bool child_process::reap(bool wait) {
  if (status_) return true;
  int status = 0;
  const pid_t found = waitpid(pid_, &status, wait ? 0 : WNOHANG);
  if (found == pid_) status_ = status;
  return status_.has_value();
}

/// A file descriptor of the process becomes readable when it ends, so the wait needs no polling.
bool child_process::reap_within(std::chrono::milliseconds time) {
  if (reap(false)) return true;
  const auto process = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  if (process < 0) return reap(true);
  pollfd end{process, POLLIN, 0};
  poll(&end, 1, static_cast<int>(time.count()));
  close(process);
  return reap(false);
}

std::optional<std::string> child_process::ended() {
  if (!reap(false)) return std::nullopt;
  return end_text(*status_);
}

bool child_process::succeeded() const {
  return status_ && WIFEXITED(*status_) && WEXITSTATUS(*status_) == 0;
}

void child_process::terminate() {
  if (!reap(false)) kill(pid_, SIGTERM);
}

std::vector<std::string> child_process::last_complaint(std::size_t most_lines) const {
  std::ifstream log(what_.log_file);
  std::vector<std::string> lines;
  bool is_chatter = true;
  for (std::string line; std::getline(log, line);) {
    const bool complains = is_complaint(line);
    // Consecutive lines are one complaint.
    if (complains && is_chatter) lines.clear();
    is_chatter = !complains;
    if (complains && lines.size() < most_lines) lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> child_process::last_lines(std::size_t count) const {
  std::ifstream log(what_.log_file);
  std::deque<std::string> lines;
  for (std::string line; std::getline(log, line);) {
    lines.push_back(line);
    if (lines.size() > count) lines.pop_front();
  }
  return {lines.begin(), lines.end()};
}

}  // namespace tools::lab
