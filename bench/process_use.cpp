#include "bench/process_use.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "bench/report.h"

namespace bench {
namespace {

std::string first_line(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

double status_of(const std::filesystem::path& folder, std::string_view what) {
  std::ifstream status(folder / "status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(what)) return std::stod(line.substr(what.size()));
  }
  throw std::runtime_error(fmt::format("no {} in {}", what, folder.string()));
}

std::filesystem::directory_iterator tasks_of(pid_t pid) {
  return std::filesystem::directory_iterator(fmt::format("/proc/{}/task", pid));
}

// The scheduler's file begins with the processor time, in nanoseconds.
seconds cpu_of(const std::filesystem::path& task) {
  return std::chrono::nanoseconds(std::stoll(first_line(task / "schedstat")));
}

}  // namespace

double resident_mib(pid_t pid) {
  return status_of(fmt::format("/proc/{}", pid), "VmRSS:") / 1024.0;
}

thread_use use_of_thread(pid_t pid, const std::string& name) {
  for (const auto& task : tasks_of(pid)) {
    if (first_line(task.path() / "comm") != name) continue;
    return {cpu_of(task.path()), status_of(task.path(), "voluntary_ctxt_switches:")};
  }
  throw std::runtime_error("no thread " + name);
}

seconds cpu_of_threads(pid_t pid, const std::string& name) {
  seconds sum{};
  for (const auto& task : tasks_of(pid)) {
    if (first_line(task.path() / "comm") == name) sum += cpu_of(task.path());
  }
  return sum;
}

std::string own_name() {
  return first_line("/proc/thread-self/comm");
}

void require(bool reached, const char* what) {
  if (!reached) throw std::runtime_error(what);
}

bool report(const std::string& figure, double found, double goal, const char* unit) {
  print_line(figure, fmt::format("{:.2f} {}", found, unit), fmt::format("<= {} {}", goal, unit),
             found <= goal, "");
  return found <= goal;
}

}  // namespace bench
