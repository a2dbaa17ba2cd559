#include "platform/value_tree/nx_db.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "platform/value_tree/history_ring.h"
#include "platform/value_tree/own_history.h"
#include "platform/value_tree/path_index.h"
#include "platform/value_tree/path_pattern.h"
#include "platform/value_tree/tree_mutex.h"

// Has its own lock, so that a loop that publishes never waits for readers of the index.
struct nx::path_history {
  std::mutex mutex;  // a leaf in the lock order
  history_ring ring;
};

namespace {

struct tree_entry {
  std::shared_ptr<nx_db_leaf_node> node;
  std::shared_ptr<nx::path_history> history;
};

struct path_hash {
  using is_transparent = void;
  std::size_t operator()(std::string_view path) const {
    return std::hash<std::string_view>()(path);
  }
};

[[noreturn]] void no_such_path(const std::string& path) {
  throw nx_error(nx_error::not_found, "No such path: " + path);
}

std::string joined(const std::string& parent_path, const std::string& name) {
  return parent_path.empty() ? name : parent_path + '/' + name;
}

void add_paths_below(const nx::path_index::level& level, std::vector<std::string>& paths) {
  for (const auto& [key, child] : level.children) {
    if (child.node) {
      paths.push_back(child.node->get_path(0));
    } else {
      add_paths_below(*child.below, paths);
    }
  }
}

}  // namespace

struct nx_db::impl {
  // Guards entries and index. No node is called while it is held, except for its list of
  // subscribers.
  mutable nx::tree_mutex mutex;
  std::unordered_map<std::string, tree_entry, path_hash, std::equal_to<>> entries;
  nx::path_index index;

  std::mutex watchers_mutex;
  std::vector<std::weak_ptr<added_callback>> watchers;

  mutable std::mutex clock_mutex;
  std::function<std::chrono::system_clock::time_point()> clock;
  std::atomic<bool> has_clock{false};  // of its own

  std::shared_ptr<nx::poll_scheduler> poller;
  std::shared_ptr<boost::asio::io_context> io;

  const std::shared_ptr<nx_db_leaf_node>& find(std::string_view path) const {
    static const std::shared_ptr<nx_db_leaf_node> none;
    const auto entry = entries.find(path);
    return entry == entries.end() ? none : entry->second.node;
  }

  std::vector<std::shared_ptr<added_callback>> live_watchers() {
    const std::lock_guard lock(watchers_mutex);
    std::vector<std::shared_ptr<added_callback>> live;
    for (const auto& watcher : watchers) {
      if (auto callback = watcher.lock()) live.push_back(std::move(callback));
    }
    return live;
  }
};

nx_db::nx_db(std::shared_ptr<nx::poll_scheduler> poller,
             std::shared_ptr<boost::asio::io_context> io)
    : impl_(std::make_unique<impl>()) {
  impl_->poller = std::move(poller);
  impl_->io = std::move(io);
}

nx_db::~nx_db() {
  // Owners may outlive the tree; their nodes are then unattached again.
  for (const auto& [path, entry] : impl_->entries)
    entry.node->db = nullptr;
}

std::pair<std::string, std::string> nx_db::split_path(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == path.npos) return {path, {}};
  return {path.substr(slash + 1), path.substr(0, slash)};
}

void nx_db::add_node(const std::string& parent_path, std::shared_ptr<nx_db_leaf_node> node) {
  const auto path = joined(parent_path, node->get_name());
  nx::check_new_path(path);
  // Subscribers are moved before the node can be reached: after that a setter may hold its mutex
  // and wait for a lock held by this function's caller.
  bool moved = false;
  while (const auto former = put(path, node)) {
    move_subscribers(*former, *node);
    moved = true;
  }
  // A session that closed meanwhile has cleaned up only at the former node.
  if (auto* events = dynamic_cast<nx_db_event_node*>(node.get()); events && moved) {
    events->forget_closed_sessions();
  }
  for (const auto& added : impl_->live_watchers())
    (*added)(node);
}

std::shared_ptr<nx_db_leaf_node> nx_db::put(const std::string& path,
                                            const std::shared_ptr<nx_db_leaf_node>& node) {
  std::shared_ptr<nx_db_leaf_node> old;  // destroyed after the lock is released
  const std::lock_guard lock(impl_->mutex);
  if (node->db != nullptr && (node->db != this || *node->path_ != path)) {
    throw nx_error(nx_error::invalid, "The node is attached already: " + *node->path_);
  }
  const auto present = impl_->entries.find(path);
  if (present != impl_->entries.end() && present->second.node != node) old = present->second.node;
  if (old && has_subscribers(*old)) {
    attach(*node, path);
    return old;
  }
  impl_->index.set(path, node);
  attach(*node, path);
  node->retired_ = false;
  auto& entry = impl_->entries[path];
  if (!entry.history) entry.history = std::make_shared<nx::path_history>();
  node->history_ = entry.history;
  entry.node = node;
  if (old) old->retired_ = true;
  return nullptr;
}

void nx_db::attach(nx_db_leaf_node& node, const std::string& path) {
  if (node.db != nullptr) return;
  node.path_ = std::make_shared<const std::string>(path);
  node.db = this;
}

bool nx_db::has_subscribers(const nx_db_leaf_node& node) {
  const auto* events = dynamic_cast<const nx_db_event_node*>(&node);
  return events != nullptr && events->has_subscribers();
}

void nx_db::move_subscribers(nx_db_leaf_node& old, nx_db_leaf_node& node) {
  auto* events = dynamic_cast<nx_db_event_node*>(&old);
  if (events == nullptr) return;
  // The sessions' own locks are not taken here: the caller of add_node may hold locks of the loops.
  std::recursive_mutex mutex;
  std::unique_lock lock(mutex);
  for (const auto& [session, number] : events->take_subscribers()) {
    nx::json_document answer(rapidjson::kObjectType);
    try {
      node.subscribe(session, *node.path_, answer.GetAllocator(), answer, lock);
    } catch (...) {
      session->subscription_ended(*node.path_, "removed");
    }
  }
}

bool nx_db::remove_node(const std::string& path) {
  std::shared_ptr<nx_db_leaf_node> node;
  {
    const std::lock_guard lock(impl_->mutex);
    const auto entry = impl_->entries.find(path);
    if (entry == impl_->entries.end()) return false;
    node = std::move(entry->second.node);
    node->retired_ = true;
    impl_->entries.erase(entry);
    impl_->index.erase(path);
  }
  if (auto* events = dynamic_cast<nx_db_event_node*>(node.get())) {
    for (const auto& [session, number] : events->take_subscribers()) {
      session->subscription_ended(path, "removed");
    }
  }
  return true;
}

std::shared_ptr<nx_db_leaf_node> nx_db::find(std::string_view path) const {
  const std::shared_lock lock(impl_->mutex);
  return impl_->find(path);
}

std::vector<std::shared_ptr<nx_db_leaf_node>> nx_db::find_each(
    const std::vector<std::string_view>& paths) const {
  std::vector<std::shared_ptr<nx_db_leaf_node>> found;
  found.reserve(paths.size());
  const std::shared_lock lock(impl_->mutex);
  for (const auto path : paths)
    found.push_back(impl_->find(path));
  return found;
}

std::shared_ptr<nx_db_leaf_node> nx_db::node_at(const std::string& path) const {
  auto node = find(path);
  if (!node) no_such_path(path);
  return node;
}

std::vector<std::shared_ptr<nx_db_leaf_node>> nx_db::match(const std::string& pattern) const {
  const std::shared_lock lock(impl_->mutex);
  return impl_->index.match(pattern);
}

void nx_db::subscribe(const std::shared_ptr<nx_session>& session,
                      std::shared_ptr<nx_db_leaf_node> node, nx::json_allocator& allocator,
                      nx::json_value& result, std::unique_lock<std::recursive_mutex>& lock) {
  const auto path = node->shared_path();
  const auto before = result.MemberCount();
  const auto take_back = [&] {
    if (result.MemberCount() == before) return;
    result.EraseMember(result.MemberBegin() + before, result.MemberEnd());
  };
  while (node) {
    try {
      node->subscribe(session, *path, allocator, result, lock);
    } catch (...) {
      take_back();
      throw;
    }
    if (is_present(*node)) return;
    node->unsubscribe(session);
    take_back();
    node = find(*path);
  }
  no_such_path(*path);
}

bool nx_db::is_present(const nx_db_leaf_node& node) const {
  const std::shared_lock lock(impl_->mutex);
  return node.db == this && !node.is_retired();
}

bool nx_db::are_present(std::span<const std::shared_ptr<nx_db_leaf_node>> nodes) const {
  const std::shared_lock lock(impl_->mutex);
  return std::all_of(nodes.begin(), nodes.end(),
                     [this](const auto& node) { return node->db == this && !node->is_retired(); });
}

bool nx_db::is_pattern(const std::string& path) {
  return nx::is_path_pattern(path);
}

bool nx_db::matches(const std::string& pattern, const std::string& path) {
  return nx::path_matches(pattern, path);
}

std::vector<std::string> nx_db::list(const std::string& path, bool recursive) const {
  const std::shared_lock lock(impl_->mutex);
  std::vector<std::string> names;
  const auto* level = impl_->index.find_level(path);
  if (level == nullptr) {
    if (!impl_->entries.contains(path)) no_such_path(path);
  } else if (recursive) {
    add_paths_below(*level, names);
  } else {
    for (const auto& [key, child] : level->children)
      names.push_back(key);
  }
  return names;
}

void nx_db::append_to_history(std::shared_ptr<nx_db_node> node) {
  const auto* leaf = dynamic_cast<const nx_db_leaf_node*>(node.get());
  if (leaf == nullptr) return;
  nx::json_document document;
  const auto value = nx::json_text(leaf->export_history_entry(document.GetAllocator()));
  append_to_history(*node, now(), value);
}

void nx_db::append_to_history(const nx_db_node& node, std::chrono::system_clock::time_point time,
                              std::string_view value) {
  const auto& history = node.history_;
  if (!history || node.is_retired()) return;
  const std::lock_guard lock(history->mutex);
  history->ring.append(time, value, history_depth);
}

std::vector<nx_db::history_entry> nx_db::history(const std::string& path) const {
  std::shared_ptr<nx::path_history> history;
  std::shared_ptr<nx_db_leaf_node> node;
  {
    const std::shared_lock lock(impl_->mutex);
    const auto entry = impl_->entries.find(path);
    if (entry == impl_->entries.end()) no_such_path(path);
    history = entry->second.history;
    node = entry->second.node;
  }
  if (const auto* own = dynamic_cast<const nx::own_history*>(node.get())) return own->history();
  std::vector<history_entry> found;
  const std::lock_guard lock(history->mutex);
  for (auto& kept : history->ring.entries()) {
    found.push_back({kept.time, std::move(kept.value)});
  }
  return found;
}

std::shared_ptr<void> nx_db::watch_added(added_callback added) {
  auto callback = std::make_shared<added_callback>(std::move(added));
  const std::lock_guard lock(impl_->watchers_mutex);
  std::erase_if(impl_->watchers, [](const auto& watcher) { return watcher.expired(); });
  impl_->watchers.push_back(callback);
  return callback;
}

std::shared_ptr<boost::asio::io_context> nx_db::get_io_context() const {
  return impl_->io;
}

std::shared_ptr<nx::poll_scheduler> nx_db::get_poller() const {
  return impl_->poller;
}

void nx_db::set_clock(std::function<std::chrono::system_clock::time_point()> clock) {
  const std::lock_guard lock(impl_->clock_mutex);
  impl_->clock = std::move(clock);
  impl_->has_clock = static_cast<bool>(impl_->clock);
}

std::chrono::system_clock::time_point nx_db::now() const {
  if (!impl_->has_clock) return std::chrono::system_clock::now();
  const std::lock_guard lock(impl_->clock_mutex);
  return impl_->clock ? impl_->clock() : std::chrono::system_clock::now();
}
