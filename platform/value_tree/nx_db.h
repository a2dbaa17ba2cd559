// The tree itself: named paths, their nodes, their history. One per server. Every operation may be
// called from any thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/poll_scheduler.h"

namespace boost::asio {
class io_context;
}

class nx_db {
 public:
  /// A stand-alone tree, without threads and sockets: for tests and in-process nexels. `poller`
  /// runs the values' periodic tasks; if null, none runs.
  explicit nx_db(std::shared_ptr<nx::poll_scheduler> poller = nullptr,
                 std::shared_ptr<boost::asio::io_context> io = nullptr);
  ~nx_db();
  nx_db(const nx_db&) = delete;
  nx_db& operator=(const nx_db&) = delete;

  /// The node's own name first, its parent's path second: "a/b/c" gives {"c", "a/b"}.
  static std::pair<std::string, std::string> split_path(const std::string& path);

  /// Attaches a node below `parent_path`, creating the levels in between. An existing node is
  /// replaced: its subscribers move to the new node and get its first event before others can reach
  /// it, and the old node is no longer polled. Throws nx_error -22 for an empty segment, for a name
  /// with '*' or a control character, and if the path is a level with nodes below it.
  void add_node(const std::string& parent_path, std::shared_ptr<nx_db_leaf_node> node);

  /// Removes a node; its subscribers are told "removed". False if there is none.
  bool remove_node(const std::string& path);

  /// Null if there is none.
  std::shared_ptr<nx_db_leaf_node> find(std::string_view path) const;
  /// The same for several paths.
  std::vector<std::shared_ptr<nx_db_leaf_node>> find_each(
      const std::vector<std::string_view>& paths) const;
  /// Throws nx_error -2 "No such path: P".
  std::shared_ptr<nx_db_leaf_node> node_at(const std::string& path) const;

  /// All nodes whose path matches the pattern, in order of their paths: '*' stands for one segment,
  /// '**' at the end for everything below. A pattern without stars is a path.
  std::vector<std::shared_ptr<nx_db_leaf_node>> match(const std::string& pattern) const;

  /// Subscribes the session to a node, or to its successor if the node is replaced meanwhile.
  /// Throws nx_error -2 "No such path: P", and whatever the node throws.
  void subscribe(const std::shared_ptr<nx_session>& session, std::shared_ptr<nx_db_leaf_node> node,
                 nx::json_allocator& allocator, nx::json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock);
  /// False for a node that has been replaced or removed. Waits for a change in progress, so that a
  /// session that has subscribed before is either moved with the other subscribers or sees it here.
  bool is_present(const nx_db_leaf_node& node) const;
  /// Whether all are.
  bool are_present(std::span<const std::shared_ptr<nx_db_leaf_node>> nodes) const;
  static bool is_pattern(const std::string& path);
  static bool matches(const std::string& pattern, const std::string& path);

  /// Names below a level, sorted, levels with a trailing '/'; "" is the root. Recursive: the full
  /// paths of all nodes below it. Throws nx_error -2 "No such path: P".
  std::vector<std::string> list(const std::string& path, bool recursive) const;

  /// Records that the node has changed. The newest `history_depth` entries of each path are kept.
  void append_to_history(std::shared_ptr<nx_db_node> node);
  /// The same with the value at hand, as JSON text.
  void append_to_history(const nx_db_node& node, std::chrono::system_clock::time_point time,
                         std::string_view value);
  struct history_entry {
    std::chrono::system_clock::time_point time;
    std::string value;  ///< JSON text
  };
  std::vector<history_entry> history(const std::string& path) const;
  static constexpr std::size_t history_depth = 32;

  /// Calls `added` for each node added from now on, until the handle is dropped. Used for the
  /// pattern subscriptions of sessions. Called without the tree's lock.
  using added_callback = std::function<void(const std::shared_ptr<nx_db_leaf_node>&)>;
  std::shared_ptr<void> watch_added(added_callback added);

  std::shared_ptr<boost::asio::io_context> get_io_context() const;
  std::shared_ptr<nx::poll_scheduler> get_poller() const;

  /// Wall clock of events and history; replaced by tests.
  void set_clock(std::function<std::chrono::system_clock::time_point()> clock);
  std::chrono::system_clock::time_point now() const;

 private:
  /// Puts the node on the tree and returns null; if an existing node there still has subscribers,
  /// returns that and leaves the tree as it is. Throws nx_error -22 as add_node does.
  std::shared_ptr<nx_db_leaf_node> put(const std::string& path,
                                       const std::shared_ptr<nx_db_leaf_node>& node);
  void attach(nx_db_leaf_node& node, const std::string& path);
  static bool has_subscribers(const nx_db_leaf_node& node);
  static void move_subscribers(nx_db_leaf_node& old, nx_db_leaf_node& node);

  struct impl;
  std::unique_ptr<impl> impl_;
};
