// The hosts that this process itself talks to over IPv6: the clients of an io_context enter them
// here, so that its server can tell which session on the supervisory link is the neighbour's. Any
// thread.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <boost/asio/execution_context.hpp>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>

namespace nx {

class neighbours : public boost::asio::execution_context::service {
 public:
  using key_type = neighbours;
  inline static boost::asio::execution_context::id id;

  explicit neighbours(boost::asio::execution_context& io) : service(io) {}

  /// A text that is not an address belongs to nobody.
  void enter(const std::string& host) {
    in6_addr address{};
    if (::inet_pton(AF_INET6, host.substr(0, host.find('%')).c_str(), &address) != 1) return;
    const std::lock_guard lock(mutex_);
    std::erase_if(known_, [&](const auto& one) { return same(one, address); });
    known_.push_front(address);
    if (known_.size() > most_known) known_.pop_back();
  }

  bool knows(const in6_addr& address) const {
    const std::lock_guard lock(mutex_);
    return std::any_of(known_.begin(), known_.end(),
                       [&](const auto& one) { return same(one, address); });
  }

 private:
  // The newest one: a neighbour that was replaced has another address.
  static constexpr std::size_t most_known = 4;

  static bool same(const in6_addr& left, const in6_addr& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;
  }
  void shutdown() override {}

  mutable std::mutex mutex_;
  std::deque<in6_addr> known_;
};

}  // namespace nx
