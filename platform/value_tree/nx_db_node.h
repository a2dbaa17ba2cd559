// The classes behind every path of a tree. The daemon (src/api) and the simulated nexels derive
// their kinds of value from nx_db_leaf_node and nx_db_event_node and override the operations they
// support; the versions here answer "Not writable: PATH" and the like.
//
// Threads: the server calls get, set, run, subscribe, get_info and periodic_task on its own threads
// while owners update the same nodes, so a stateful node guards itself.
#pragma once

#include <atomic>
#include <boost/container/small_vector.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/threads/ranked_mutex.h"
#include "platform/value_tree/nx_session.h"
#include "platform/wire/json.h"
#include "platform/wire/nx_error.h"

class nx_db;
namespace nx {
struct path_history;
}

class nx_db_node : public std::enable_shared_from_this<nx_db_node> {
 public:
  explicit nx_db_node(std::string name);
  virtual ~nx_db_node();
  nx_db_node(const nx_db_node&) = delete;
  nx_db_node& operator=(const nx_db_node&) = delete;

  const std::string& get_name() const { return name_; }

  /// Path from the root, without its first `depth` segments. A node that is not attached yet has
  /// only its name.
  std::string get_path(unsigned depth) const;

  /// The whole path.
  const std::string& path() const { return *path_; }
  /// The same, for callers that keep many.
  std::shared_ptr<const std::string> shared_path() const { return path_; }

  /// True once the node has been replaced or removed: it is no longer polled.
  bool is_retired() const { return retired_; }

 private:
  friend class nx_db;
  std::atomic<bool> retired_{false};
  std::string name_;
  // Set by nx_db::add_node before the node can be reached; constant afterwards.
  std::shared_ptr<const std::string> path_;
  std::shared_ptr<nx::path_history> history_;  // a node's successor continues it
};

/// A node without subscribers.
class nx_db_leaf_node : public nx_db_node {
 public:
  using json_allocator = nx::json_allocator;
  using json_value = nx::json_value;
  using json_document = nx::json_document;

  explicit nx_db_leaf_node(const std::string& name);
  ~nx_db_leaf_node() override;

  /// The node's present value as the history keeps it; throws like `get`.
  virtual json_value export_history_entry(json_allocator& allocator) const;

  /// Adds the present value to the object `result` as a member named `path`.
  virtual void get(const std::string& path, json_allocator& allocator, json_value& result);
  /// Appends the text of the present value; if only `get` can provide it, returns false and appends
  /// nothing. For values that are read often and never block.
  virtual bool append_text(std::string& out) const;
  virtual void set(const std::string& path, const json_value& value);
  /// Executes a command and adds its answer to `result` under `path`.
  virtual void run(const std::string& path, const json_value& args, json_allocator& allocator,
                   json_value& result);
  /// Forgets the stored value.
  virtual void reset();
  /// Called with false by the poller, once per interval; with true when an owner has just pushed a
  /// value. May be entered again before the first call has returned.
  virtual void periodic_task(bool pushed);

  virtual bool subscription_supported() const;
  /// Adds the session, puts the present value into `result` and sends the first event. `lock`
  /// guards the session's list of subscriptions and is held on entry.
  virtual void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                         json_allocator& allocator, json_value& result,
                         std::unique_lock<std::recursive_mutex>& lock);
  virtual void unsubscribe(std::shared_ptr<nx_session> session);

  /// What a subscription begins with, beside its text.
  enum class first_value {
    by_document,  ///< only `subscribe` can tell; nothing has been done and nothing appended
    none,         ///< "null" for the answer, and no event
    value,
    error  ///< an object with "code" and "message"
  };
  struct first_text {
    std::string json;
    std::chrono::system_clock::time_point time;  ///< when it was read
  };
  /// The same as `subscribe` under a number that the session has given already, as text. Patterns
  /// begin thousands of subscriptions; the caller writes their answers and first events at once.
  virtual first_value subscribe_text(const std::shared_ptr<nx_session>& session,
                                     nx_subscription_number number, first_text& first);

  /// One line that names the kind, such as "status value (read,subscribe)".
  virtual std::string get_info() const;
  /// The info record of the kind.
  virtual json_value get_info(json_allocator& allocator) const;
  virtual bool node_flag() const;
  /// True for commands: a `set` is then a `run`.
  virtual bool write_returns_response() const;
  /// True if `get` may block on a device, a network or a setter that blocks; such reads are
  /// answered on a worker thread, others on the I/O thread unless there are many of them.
  virtual bool read_may_wait() const;
  /// The same for `set`, `run` and `reset`. A node whose writes never block returns false, and its
  /// writes are carried out on the I/O thread: they take no lock that is held across a device call.
  virtual bool write_may_wait() const;

  nx_db* db = nullptr;                          ///< null until add_node has attached the node
  std::atomic<std::uint32_t> poll_interval{0};  ///< set by value_group::add_value; 0: never polled
};

/// A node with subscribers.
class nx_db_event_node : public nx_db_leaf_node {
 public:
  explicit nx_db_event_node(const std::string& name);
  ~nx_db_event_node() override;

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  void set(const std::string& path, const json_value& value) override;
  bool subscription_supported() const override;
  /// Only registers the session; value classes add the value and the first event.
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;
  void unsubscribe(std::shared_ptr<nx_session> session) override;
  json_value get_info(json_allocator& allocator) const override;
  using nx_db_leaf_node::get_info;

  /// The frame of a change event; the caller adds the member "value" with the document's allocator.
  json_document create_value_changed_event(std::string&& path) const;
  /// A complete error event.
  json_document create_error_event(std::string&& path, const nx_error& error) const;
  /// Sends a new value, given as JSON text, to all subscribers and the history. Without a tree
  /// there is neither.
  void publish_text(std::string_view value);
  /// Sends to all subscribers; `first` is false for changes.
  void send_event_impl(json_document&& event, bool first);
  /// Sends to one session; `first` is true for the first event of a subscription.
  void send_event_to_session_impl(json_document&& event, bool first,
                                  std::shared_ptr<nx_session> session);
  void send_error_event(const nx_error& error);

  bool has_subscribers() const;

 protected:
  /// The first half of `subscribe_text`, with the value's own mutex held: all but the value.
  void begin_text(const std::shared_ptr<nx_session>& session, nx_subscription_number number,
                  first_text& first);

 private:
  friend class nx_db;
  struct subscriber {
    std::shared_ptr<nx_session> session;
    nx_subscription_number subscription;
  };
  // Most nodes have a subscriber or two: those take no memory of their own.
  using subscriber_list = boost::container::small_vector<subscriber, 2>;

  void add_subscriber(const std::shared_ptr<nx_session>& session, nx_subscription_number number);
  std::shared_ptr<subscriber_list> to_change() const;
  static void take_off(subscriber_list& list, const std::shared_ptr<nx_session>& taken);
  subscriber_list take_subscribers();
  void forget_closed_sessions();
  void send_to_all(const nx_event_ptr& event, bool first);

  // A leaf in the lock order: taken with a value's own mutex held, and nothing else is taken under
  // it.
  mutable nx::ranked_mutex subscribers_mutex_{nx::lock_rank::leaf};
  // Replaced as a whole if it changes while an event is being sent, which happens without a lock.
  std::shared_ptr<const subscriber_list> subscribers_;
};
