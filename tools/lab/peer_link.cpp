#include "tools/lab/peer_link.h"

#include <fmt/format.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

using words = std::vector<std::string>;

constexpr std::chrono::seconds start_limit{10};

std::filesystem::path network_of(const std::string& process) {
  return "/proc/" + process + "/ns/net";
}

void write_file(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text;
}

/// Without privileges, first a user namespace, in which the lab may do what it needs.
bool enter_user_namespace() {
  const auto user = getuid();
  const auto group = getgid();
  if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
  write_file("/proc/self/setgroups", "deny");
  write_file("/proc/self/uid_map", fmt::format("0 {} 1", user));
  write_file("/proc/self/gid_map", fmt::format("0 {} 1", group));
  return true;
}

void enter_own_namespace() {
  if (unshare(CLONE_NEWNET) == 0 || enter_user_namespace()) return;
  throw link_refused(fmt::format("This system does not allow network namespaces ({})",
                                 std::generic_category().message(errno)));
}

}  // namespace

peer_link::peer_link(supervisor& programs, const lab_folder& folder)
    : log_((folder.logs() / "link.log").string()) {
  enter_own_namespace();
  holder_ =
      programs.start({"far namespace", {"unshare", "--net", "sleep", "infinity"}, {}, log_}).pid();
  wait_for_far_namespace(programs);
  run(programs, {"ip", "link", "add", "name", interface, "type", "veth", "peer", "name", interface,
                 "netns", std::to_string(holder_)});
  bring_up(programs, {}, "fe80::1/64");
  bring_up(programs, enter_far(), "fe80::2/64");
}

void peer_link::run(supervisor& programs, std::vector<std::string> command) const {
  const auto name = command.front();
  programs.run({name, std::move(command), {}, log_});
}

void peer_link::bring_up(supervisor& programs, const std::vector<std::string>& where,
                         const std::string& address) const {
  // The interface's only address; without nodad it would be unusable for its first second.
  for (words command : {words{"ip", "link", "set", interface, "addrgenmode", "none"},
                        words{"ip", "address", "add", address, "dev", interface, "nodad"},
                        words{"ip", "link", "set", interface, "up"}}) {
    command.insert(command.begin(), where.begin(), where.end());
    run(programs, command);
  }
}

void peer_link::wait_for_far_namespace(supervisor& programs) const {
  const auto own = std::filesystem::read_symlink(network_of("self"));
  programs.wait_until("the far namespace", start_limit, [&] {
    return std::filesystem::read_symlink(network_of(std::to_string(holder_))) != own;
  });
}

std::vector<std::string> peer_link::enter_far() const {
  return {"nsenter", "--net=" + network_of(std::to_string(holder_)).string(), "--"};
}

}  // namespace tools::lab
