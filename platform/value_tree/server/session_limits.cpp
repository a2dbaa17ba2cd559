#include "platform/value_tree/server/session_limits.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <algorithm>

#include "platform/io/neighbours.h"
#include "platform/value_tree/server/session.h"
#include "platform/wire/limits.h"

namespace nx {
namespace {

constexpr std::int32_t no_room = -105;

bool is_root(int connection) {
  ucred who{};
  socklen_t size = sizeof(who);
  return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &who, &size) == 0 && who.pid > 0 &&
         who.uid == 0;
}

bool is_neighbour(int connection, const neighbours& known) {
  sockaddr_in6 address{};
  socklen_t size = sizeof(address);
  return ::getpeername(connection, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
         address.sin6_family == AF_INET6 && known.knows(address.sin6_addr);
}

nx_error full(const std::string& text) {
  return {no_room, text};
}

}  // namespace

session_limits::origin session_limits::origin_of(int connection, bool on_link) const {
  if (on_link) return is_neighbour(connection, known_) ? origin::link_neighbour : origin::link;
  return is_root(connection) ? origin::local_root : origin::local;
}

std::optional<nx_error> session_limits::refusal(origin from) const {
  using namespace limits;
  if (from == origin::link || from == origin::link_neighbour) {
    constexpr auto others = link_sessions - link_sessions_for_neighbour;
    const auto present = count(origin::link);
    if (from == origin::link && present >= others) {
      return full(fmt::format("More than {} sessions on the link, {} more is for the neighbour",
                              others, link_sessions_for_neighbour));
    }
    if (present + count(origin::link_neighbour) < link_sessions) return std::nullopt;
    return full(fmt::format("More than {} sessions on the link", link_sessions));
  }
  const auto present = count(origin::local) + count(origin::local_root);
  if (present >= sessions) return full(fmt::format("More than {} sessions", sessions));
  constexpr auto others = sessions - sessions_for_root;
  if (from == origin::local_root || present < others) return std::nullopt;
  return full(
      fmt::format("More than {} sessions, {} more are for root", others, sessions_for_root));
}

bool session_limits::on_link(const std::shared_ptr<session>& one) const {
  const auto found = sessions_.find(one);
  return found != sessions_.end() &&
         (found->second.from == origin::link || found->second.from == origin::link_neighbour);
}

std::shared_ptr<session> session_limits::gives_way(
    std::chrono::steady_clock::time_point time) const {
  std::map<unsigned long, std::shared_ptr<session>> idle;
  std::map<unsigned long, std::shared_ptr<session>> asking;
  for (const auto& [one, at] : sessions_) {
    if (at.from != origin::link_neighbour) continue;
    if (one->is_idle_since(time)) {
      idle.emplace(at.number, one);
    } else if (at.since <= time && !one->has_subscriptions()) {
      asking.emplace(at.number, one);
    }
  }
  if (idle.size() > 1) return std::next(idle.begin())->second;
  if (!asking.empty()) return asking.begin()->second;
  return idle.empty() ? nullptr : idle.begin()->second;
}

std::size_t session_limits::count(origin from) const {
  return static_cast<std::size_t>(
      std::count_if(sessions_.begin(), sessions_.end(),
                    [&](const auto& one) { return one.second.from == from; }));
}

}  // namespace nx
