// The tree itself: named paths, their nodes, their history. One per server. Every operation may be
// called from any thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
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
  /// A tree of its own, without threads and sockets: for tests and for in-process nexels.
  /// `poller` runs the periodic tasks of the values; null means that none runs.
  explicit nx_db(std::shared_ptr<nx::poll_scheduler> poller = nullptr,
                 std::shared_ptr<boost::asio::io_context> io = nullptr);
  ~nx_db();
  nx_db(const nx_db&) = delete;
  nx_db& operator=(const nx_db&) = delete;

  /// The node's own name first, the path of its parent second: "a/b/c" gives {"c", "a/b"}.
  static std::pair<std::string, std::string> split_path(const std::string& path);

  /// Attaches a node below `parent_path`, creating the levels between. A node that stands there
  /// already is replaced: its subscribers move to the new node and get its first event before
  /// others can reach it, and it is polled no more. Throws nx_error -22 on an empty segment, on a
  /// name with '*' or a control character, and where the path is a level with nodes below it.
  void add_node(const std::string& parent_path, std::shared_ptr<nx_db_leaf_node> node);

  /// Takes a node off; its subscribers are told "removed". False if there is none.
  bool remove_node(const std::string& path);

  /// Null if there is none.
  std::shared_ptr<nx_db_leaf_node> find(std::string_view path) const;
  /// The same for each of several paths.
  std::vector<std::shared_ptr<nx_db_leaf_node>> find_each(
      const std::vector<std::string_view>& paths) const;
  /// Throws nx_error -2 "No such path: P".
  std::shared_ptr<nx_db_leaf_node> node_at(const std::string& path) const;

  /// All nodes whose path fits the pattern, in the order of the paths: '*' stands for one segment,
  /// '**' at the end for the rest. A pattern without stars is a path.
  std::vector<std::shared_ptr<nx_db_leaf_node>> match(const std::string& pattern) const;

  /// Subscribes the session at a node, and at its successor should the node be replaced meanwhile.
  /// Throws nx_error -2 "No such path: P", and what the node throws.
  void subscribe(const std::shared_ptr<nx_session>& session, std::shared_ptr<nx_db_leaf_node> node,
                 nx::json_allocator& allocator, nx::json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock);
  static bool is_pattern(const std::string& path);
  static bool matches(const std::string& pattern, const std::string& path);

  /// Names below a level, sorted, levels with a '/' behind; "" is the root. Recursive: the full
  /// paths of all nodes below it. Throws nx_error -2 "No such path: P".
  std::vector<std::string> list(const std::string& path, bool recursive) const;

  /// Records that the node changed. The newest `history_depth` entries of each path are kept.
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

  /// Calls `added` for each node that is added from now on, until the handle is dropped. Serves the
  /// pattern subscriptions of sessions. Called without the tree's lock.
  using added_callback = std::function<void(const std::shared_ptr<nx_db_leaf_node>&)>;
  std::shared_ptr<void> watch_added(added_callback added);

  std::shared_ptr<boost::asio::io_context> get_io_context() const;
  std::shared_ptr<nx::poll_scheduler> get_poller() const;

  /// Wall clock of events and history; replaced by tests.
  void set_clock(std::function<std::chrono::system_clock::time_point()> clock);
  std::chrono::system_clock::time_point now() const;

 private:
  /// Puts the node on the tree and gives null; gives the one that stands there while that has
  /// subscribers, and leaves the tree as it is. Throws nx_error
  /// -22 where add_node does.
  std::shared_ptr<nx_db_leaf_node> put(const std::string& path,
                                       const std::shared_ptr<nx_db_leaf_node>& node);
  void attach(nx_db_leaf_node& node, const std::string& path);
  bool is_present(const nx_db_leaf_node& node) const;
  static bool has_subscribers(const nx_db_leaf_node& node);
  static void move_subscribers(nx_db_leaf_node& old, nx_db_leaf_node& node);

  struct impl;
  std::unique_ptr<impl> impl_;
};
