// Nodes of the kinds that daemons have, as small as they can be.
#pragma once

#include <rapidjson/document.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_conversion.h"

/// Stops whoever passes it until it is opened.
class gate {
 public:
  void pass() {
    std::unique_lock lock(mutex_);
    ++arrived_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
  }
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void wait_for_arrivals(int count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return arrived_ >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int arrived_ = 0;
  bool open_ = false;
};

/// A float that clients read, write and subscribe, and that can be in error.
class float_value : public nx_db_event_node {
 public:
  float_value(const std::string& name, float value) : nx_db_event_node(name), value_(value) {}

  static std::shared_ptr<float_value> create(nx_db& db, const std::string& path, float value) {
    const auto [name, parent] = nx_db::split_path(path);
    auto node = std::make_shared<float_value>(name, value);
    db.add_node(parent, node);
    return node;
  }

  void get(const std::string& path, json_allocator& allocator, json_value& result) override {
    const std::lock_guard lock(mutex_);
    if (!error_.empty()) throw nx_error(-61, error_);
    result.AddMember(nx::to_json(path, allocator), nx::to_json(value_, allocator), allocator);
  }

  void set(const std::string&, const json_value& value) override {
    update(nx::from_json<float>(value));
  }

  void reset() override { update(0); }

  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override {
    const std::lock_guard own_lock(mutex_);
    nx_db_event_node::subscribe(session, path, allocator, result, lock);
    result.AddMember(nx::to_json(path, allocator), nx::to_json(value_, allocator), allocator);
    send_event_to_session_impl(event(path), true, session);
  }

  json_value get_info(json_allocator& allocator) const override {
    auto record = nx_db_event_node::get_info(allocator);
    record.AddMember("type", "float value", allocator);
    return record;
  }
  using nx_db_event_node::get_info;

  void periodic_task(bool) override { ++polls; }

  void update(float value) {
    const std::lock_guard lock(mutex_);
    value_ = value;
    error_.clear();
    send_event_impl(event(get_path(0)), false);
    if (db != nullptr) db->append_to_history(shared_from_this());
  }

  void fail(const std::string& text) {
    const std::lock_guard lock(mutex_);
    error_ = text;
    send_error_event(nx_error(-61, text));
  }

  std::atomic<int> polls{0};

 private:
  json_document event(std::string path) const {
    auto document = create_value_changed_event(std::move(path));
    document.AddMember("value", nx::to_json(value_, document.GetAllocator()),
                       document.GetAllocator());
    return document;
  }

  std::recursive_mutex mutex_;
  float value_;
  std::string error_;
};

/// Read only, no subscribers; calls what it is given at each read. `waits` as for a device.
class read_value : public nx_db_leaf_node {
 public:
  read_value(const std::string& name, std::function<std::string()> read, bool waits)
      : nx_db_leaf_node(name), read_(std::move(read)), waits_(waits) {}

  static std::shared_ptr<read_value> create(nx_db& db, const std::string& path,
                                            std::function<std::string()> read, bool waits = false) {
    const auto [name, parent] = nx_db::split_path(path);
    auto node = std::make_shared<read_value>(name, std::move(read), waits);
    db.add_node(parent, node);
    return node;
  }

  void get(const std::string& path, json_allocator& allocator, json_value& result) override {
    result.AddMember(nx::to_json(path, allocator), nx::to_json(read_(), allocator), allocator);
  }
  bool read_may_wait() const override { return waits_; }

 private:
  std::function<std::string()> read_;
  bool waits_;
};

/// Calls what it is given and answers with the result.
class command_node : public nx_db_leaf_node {
 public:
  using action = std::function<bool(const json_document&)>;
  command_node(const std::string& name, action call)
      : nx_db_leaf_node(name), call_(std::move(call)) {}

  static std::shared_ptr<command_node> create(nx_db& db, const std::string& path, action call) {
    const auto [name, parent] = nx_db::split_path(path);
    auto node = std::make_shared<command_node>(name, std::move(call));
    db.add_node(parent, node);
    return node;
  }

  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override {
    const bool done = call_(nx::from_json<json_document>(args));
    result.AddMember(nx::to_json(path, allocator), json_value(done), allocator);
  }
  bool write_returns_response() const override { return true; }

 private:
  action call_;
};

/// A session that keeps what it is sent.
class recording_session : public nx_session {
 public:
  void deliver(std::shared_ptr<const nx_event> event, bool first) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back((first ? "first " : "") + event->line);
  }
  void subscription_ended(const std::string& path, const std::string& reason) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back("ended " + path + ' ' + reason);
  }
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};
