// A nexel with the paths that a test names, reached in-process, which records each access.
#pragma once

#include <rapidjson/document.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/in_process/network.h"
#include "tests/support/failure.h"
#include "tests/support/nodes.h"

namespace device_test {

using test::failure_of;

/// What happens at a nexel: "get PATH", "set PATH VALUE", "run PATH ARGUMENT".
struct access_log {
  std::vector<std::string> accesses;
  unsigned refusals = 0;
};

/// A value, or a command with a fixed answer.
class path_node : public test::value_node {
 public:
  path_node(const std::string& name, access_log& log, const std::string& json, bool is_command)
      : value_node(name, json), log_(log), is_command_(is_command) {}

  bool write_returns_response() const override { return is_command_; }
  void get(const std::string& path, json_allocator& allocator, json_value& result) override {
    // The tree's own look for the history has no path.
    if (path != "value") log_.accesses.push_back("get " + path);
    value_node::get(path, allocator, result);
  }
  void set(const std::string& path, const json_value& value) override {
    log_.accesses.push_back("set " + path + " " + nx::json_text(value));
    if (log_.refusals > 0) {
      --log_.refusals;
      throw nx_error(-5, "Refused");
    }
    update(nx::json_text(value));
  }
  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override {
    log_.accesses.push_back("run " + path + " " + nx::json_text(args));
    value_node::get(path, allocator, result);
  }

 private:
  access_log& log_;
  const bool is_command_;
};

class nexel {
 public:
  static constexpr const char* address = "/tmp/nexels/device";

  nexel() { network_.attach(address, db_); }

  /// A value given as JSON text; a present one is published.
  void value(const std::string& path, const std::string& json) {
    if (const auto present = std::dynamic_pointer_cast<path_node>(db_.find(path))) {
      present->update(json);
    } else {
      test::add_node<path_node>(db_, path, log_, json, false);
    }
  }
  /// A command with its answer as JSON text.
  void command(const std::string& path, const std::string& answer) {
    test::add_node<path_node>(db_, path, log_, answer, true);
  }
  void remove(const std::string& path) { db_.remove_node(path); }
  /// Writes to be refused from now on.
  void refuse(unsigned writes) { log_.refusals = writes; }
  void set_state(nx::link_state state) {
    network_.set_state(address, state);
    network_.deliver();
  }
  std::vector<std::string> take_accesses() { return std::exchange(log_.accesses, {}); }

 private:
  access_log log_;
  nx_db db_;
  nx::in_process_network network_;
};

}  // namespace device_test
