#include "nexel.h"

#include <rapidjson/document.h>

#include <utility>

#include "platform/value_tree/nx_db_node.h"
#include "platform/wire/json_conversion.h"

namespace device_test {

/// A value, or a command with a fixed answer.
class path_node : public nx_db_event_node {
 public:
  path_node(const std::string& name, nexel& owner, std::string json, bool is_command)
      : nx_db_event_node(name), owner_(owner), json_(std::move(json)), is_command_(is_command) {}

  bool write_returns_response() const override { return is_command_; }

  void publish(const std::string& json) {
    json_ = json;
    auto event = create_value_changed_event(get_path(0));
    add(event, "value", event.GetAllocator());
    send_event_impl(std::move(event), false);
  }

  void get(const std::string& path, json_allocator& allocator, json_value& result) override {
    owner_.accesses_.push_back("get " + path);
    add(result, path, allocator);
  }

  void set(const std::string& path, const json_value& value) override {
    owner_.accesses_.push_back("set " + path + " " + nx::json_text(value));
    if (owner_.refusals_ > 0) {
      --owner_.refusals_;
      throw nx_error(-5, "Refused");
    }
    publish(nx::json_text(value));
  }

  void run(const std::string& path, const json_value& args, json_allocator& allocator,
           json_value& result) override {
    owner_.accesses_.push_back("run " + path + " " + nx::json_text(args));
    add(result, path, allocator);
  }

  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override {
    nx_db_event_node::subscribe(session, path, allocator, result, lock);
    add(result, path, allocator);
    auto event = create_value_changed_event(std::string(path));
    add(event, "value", event.GetAllocator());
    send_event_to_session_impl(std::move(event), true, session);
  }

 private:
  void add(json_value& object, const std::string& name, json_allocator& allocator) const {
    json_value value;
    value.CopyFrom(nx::parse_json(json_), allocator);
    object.AddMember(nx::to_json(name, allocator), value, allocator);
  }

  nexel& owner_;
  std::string json_;
  const bool is_command_;
};

nexel::nexel() {
  network_.attach(address, db_);
}

void nexel::value(const std::string& path, const std::string& json) {
  if (const auto present = std::dynamic_pointer_cast<path_node>(db_.find(path))) {
    present->publish(json);
    return;
  }
  const auto [name, parent] = nx_db::split_path(path);
  db_.add_node(parent, std::make_shared<path_node>(name, *this, json, false));
}

void nexel::command(const std::string& path, const std::string& answer) {
  const auto [name, parent] = nx_db::split_path(path);
  db_.add_node(parent, std::make_shared<path_node>(name, *this, answer, true));
}

void nexel::set_state(nx::link_state state) {
  network_.set_state(address, state);
  network_.deliver();
}

std::vector<std::string> nexel::take_accesses() {
  return std::exchange(accesses_, {});
}

}  // namespace device_test
