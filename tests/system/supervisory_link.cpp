#include "tests/system/supervisory_link.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sched.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "tests/support/daemon_node.h"

namespace test {

namespace {

using words = std::vector<std::string>;

std::filesystem::path network_of(const std::string& process) {
  std::error_code gone;
  return std::filesystem::read_symlink("/proc/" + process + "/ns/net", gone);
}

words joined(words first, const words& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace

std::unique_ptr<supervisory_link> supervisory_link::make() {
  std::unique_ptr<supervisory_link> link(new supervisory_link);
  const words sleeper{"--net", "sleep", "infinity"};
  bool held = link->hold(0, joined({"unshare"}, sleeper));
  if (!held) {
    link->of_user_ = true;
    held = link->hold(0, joined({"unshare", "--user", "--map-root-user"}, sleeper));
  }
  if (!held) return nullptr;
  if (!link->hold(1, joined(joined(link->enter(0), {"unshare"}), sleeper))) return nullptr;
  link->plug();
  return link;
}

/// True once a process holds a namespace of its own.
bool supervisory_link::hold(unsigned node, std::vector<std::string> command) {
  const auto outside = network_of("self");
  const auto near = node == 0 ? outside : network_of(std::to_string(holders_[0]->pid()));
  holders_[node] = std::make_unique<process>(process::settings{std::move(command), {}, {}});
  auto& holder = *holders_[node];
  bool ended = false;
  const auto inside = [&] {
    ended = holder.wait_for_exit(std::chrono::milliseconds(0)).has_value();
    const auto now = network_of(std::to_string(holder.pid()));
    return ended || (!now.empty() && now != outside && now != near);
  };
  return eventually(inside) && !ended;
}

std::vector<std::string> supervisory_link::enter(unsigned node) const {
  const auto pid = std::to_string(holders_[node]->pid());
  words command{"nsenter", "--target", pid, "--net"};
  if (of_user_) command.insert(command.end(), {"--user", "--preserve-credentials"});
  return joined(command, {"--"});
}

void supervisory_link::take_thread_to(unsigned node) const {
  const auto name = "/proc/" + std::to_string(holders_[node]->pid()) + "/ns/net";
  const int network = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  const bool there = network >= 0 && ::setns(network, CLONE_NEWNET) == 0;
  ::close(network);
  if (!there) throw std::runtime_error("no way into " + name);
}

void supervisory_link::on(unsigned node, const std::vector<std::string>& command) const {
  const auto done = run({joined(enter(node), command), {}, {}});
  if (done.status != 0) {
    throw std::runtime_error(fmt::format("{}: {}", command.front(), done.output));
  }
}

void supervisory_link::unplug() const {
  on(0, {"ip", "link", "delete", interface});
}

void supervisory_link::plug(const std::vector<std::string>& more_addresses) const {
  on(0, {"ip", "link", "add", "name", interface, "type", "veth", "peer", "name", interface, "netns",
         std::to_string(holders_[1]->pid())});
  bring_up(0, {"fe80::1/64"});
  bring_up(1, joined(more_addresses, {"fe80::2/64"}));
}

void supervisory_link::bring_up(unsigned node, const std::vector<std::string>& addresses) const {
  on(node, {"ip", "link", "set", interface, "addrgenmode", "none"});
  for (const auto& address : addresses)
    on(node, {"ip", "address", "add", address, "dev", interface, "nodad"});
  on(node, {"ip", "link", "set", interface, "up"});
}

}  // namespace test
