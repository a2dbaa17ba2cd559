// The pages' view of the tree: one subscription for each pattern in use, however many clients use
// it, over the gateway's one connection. On the gateway's thread.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "gateway/settings.h"
#include "gateway/tree/topic.h"
#include "gateway/tree/tree_link.h"

namespace gateway {

/// Called when something has changed that a stream may have to send, a little later and once for
/// several changes.
class mirror_watcher {
 public:
  virtual ~mirror_watcher() = default;
  virtual void mirror_changed() = 0;
};

class tree_mirror : public tree_link::listener, public std::enable_shared_from_this<tree_mirror> {
 public:
  static constexpr std::size_t most_topics = 64;

  tree_mirror(boost::asio::io_context& io, std::shared_ptr<tree_link> link, const settings& bounds);

  tree_link& link() { return *link_; }
  std::string now_text() const;

  /// The subscription ends with its last holder. Null beyond the limit of different patterns.
  std::shared_ptr<topic> watch(const std::string& pattern);

  void add(mirror_watcher& watcher) { watchers_.insert(&watcher); }
  void remove(mirror_watcher& watcher) { watchers_.erase(&watcher); }

  /// Counts how often the tree has been lost or found.
  unsigned link_changes() const { return link_changes_; }
  const std::string& link_since() const { return link_since_; }

  void stop();

 private:
  using clock = std::chrono::steady_clock;

  void tree_connected() override;
  void tree_lost(std::chrono::milliseconds silent) override;
  void tree_event(const nx::json_value& params) override;
  void tree_ended(const std::string& path) override;

  void subscribe(const std::shared_ptr<topic>& wanted);
  void subscribed(topic& to, const nx::json_value* result, const nx_error* error);
  void let_go(const std::string& pattern);
  void put(const std::string& path, const std::string& time, const std::string& member);
  void refused(const std::string& pattern, std::int32_t code);
  void retry_refused();
  void subscribe_due();
  void tell_later();
  void tell();

  /// A pattern that the tree currently refuses to subscribe to.
  struct refusal {
    std::chrono::milliseconds pause;
    clock::time_point due;
  };

  const settings& settings_;
  const std::shared_ptr<tree_link> link_;
  std::map<std::string, std::weak_ptr<topic>> topics_;
  std::map<std::string, refusal> refused_;
  std::set<mirror_watcher*> watchers_;
  boost::asio::steady_timer pause_timer_;
  boost::asio::steady_timer retry_timer_;
  bool telling_ = false;
  bool stopped_ = false;
  unsigned link_changes_ = 0;
  std::string link_since_;
};

}  // namespace gateway
