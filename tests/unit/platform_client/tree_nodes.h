// The kinds of node that a nexel's tree needs for these tests.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/value_tree/nx_db.h"

namespace client_test {

/// A value given as JSON text; publishes its changes and may be put into error. Holds its mutex
/// while it publishes, as the value classes of a daemon do.
class value_node : public nx_db_event_node {
 public:
  static std::shared_ptr<value_node> create(nx_db& db, const std::string& path,
                                            const std::string& json);
  value_node(const std::string& name, std::string json);

  void publish(const std::string& json);
  void fail(const nx_error& error);
  std::string json() const;

  void get(const std::string& path, json_allocator& allocator, json_value& result) override;
  void set(const std::string& path, const json_value& value) override;
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override;

 private:
  json_document event();

  mutable std::recursive_mutex mutex_;
  std::string json_;
  std::shared_ptr<nx_error> error_;
};

/// A command that answers with whatever its function makes of the argument.
class command_node : public nx_db_leaf_node {
 public:
  using function = std::function<std::string(const std::string&)>;
  static std::shared_ptr<command_node> create(nx_db& db, const std::string& path, function does);
  command_node(const std::string& name, function does);

  bool write_returns_response() const override { return true; }
  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override;

 private:
  function does_;
};

}  // namespace client_test
