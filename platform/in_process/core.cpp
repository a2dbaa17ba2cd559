// The calls of the in-process client; core_connection.cpp has its connection and its subscriptions.
#include "platform/in_process/core.h"

#include <rapidjson/document.h>

#include <algorithm>

#include "platform/nexel_client/client_errors.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/failure.h"
#include "platform/wire/json_conversion.h"

namespace nx {

nx_client_exception in_process_core::as_client_exception(const std::string& path) {
  const auto error = current_node_error();
  return {error.code, error.message, path};
}

std::shared_ptr<nx_db_leaf_node> in_process_core::node_at(nx_db& db, const std::string& path) {
  if (auto node = db.find(path)) return node;
  throw nx_error(nx_error::not_found, "No such path: " + path);
}

void in_process_core::call(const nexel_request& request) {
  for (const auto& object : request.get_objects())
    call_object(object);
}

void in_process_core::call_object(const std::shared_ptr<nexel_object>& object) {
  const std::string& path = object->get_path();
  const link_state state = link_->present();
  nx_db* db = link_->db;
  if (state == link_state::dead || !db) {
    return object->report_local_error(not_connected_to(link_->address, path));
  }
  if (state == link_state::hung) {
    wait_in_vain();
    return object->report_local_error(no_answer_from(link_->address, path));
  }
  {
    std::lock_guard lock(mutex_);
    silent_ = false;
  }
  auto answer = answer_of(*db, object);
  const auto latency = link_->latency.load();
  if (latency.count() == 0) return answer();
  answer_late(latency, object, std::move(answer));
}

void in_process_core::read_nodes(nx_db& db, const std::string& path, json_document& result) {
  if (!nx_db::is_pattern(path)) return node_at(db, path)->get(path, result.GetAllocator(), result);
  for (const auto& node : db.match(path)) {
    try {
      node->get(node->get_path(0), result.GetAllocator(), result);
    } catch (const nx_error&) {
      // Left out, although a server would include the error: callers who want it read the path
      // directly.
    }
  }
}

void in_process_core::write_node(nx_db& db, const nexel_object& object, json_document& result) {
  const std::string& path = object.get_path();
  json_document params(rapidjson::kObjectType);
  object.write_request_data(params, params.GetAllocator());
  json_text(params);  // as over a socket: a number that is not finite is never sent
  auto node = node_at(db, path);
  if (node->write_returns_response()) {
    node->run(path, params["value"], result.GetAllocator(), result);
  } else {
    node->set(path, params["value"]);
  }
}

std::function<void()> in_process_core::answer_of(
    nx_db& db, const std::shared_ptr<nexel_object>& object) const {
  const std::string& path = object->get_path();
  const auto result = std::make_shared<json_document>(rapidjson::kObjectType);
  try {
    if (std::string_view(object->method()) == "get") {
      read_nodes(db, path, *result);
    } else {
      write_node(db, *object, *result);
    }
  } catch (...) {
    return [object, error = as_client_exception(path)] { object->process_error_response(error); };
  }
  return [object, result] { object->process_ok_response(*result); };
}

void in_process_core::answer_late(std::chrono::milliseconds latency,
                                  const std::shared_ptr<nexel_object>& object,
                                  std::function<void()> answer) {
  const auto fail_with = [&](nx_client_exception error) {
    return [object, error = std::move(error)] { object->report_local_error(error); };
  };
  if (latency >= call_time_out) {
    answer = fail_with(no_answer_from(link_->address, object->get_path()));
    latency = call_time_out;
  }
  auto fail = fail_with(not_connected_to(link_->address, object->get_path()));
  postpone({{}, std::move(answer), std::move(fail)}, latency);
}

void in_process_core::postpone(late_delivery delivery, std::chrono::milliseconds latency) {
  delivery.due = now() + latency;
  std::lock_guard lock(mutex_);
  // Lines of a session keep their order, whatever the latency was when each was sent.
  if (!late_.empty()) delivery.due = std::max(delivery.due, late_.back().due);
  late_.push_back(std::move(delivery));
}

void in_process_core::deliver_until(time_point due) {
  std::lock_guard lock(mutex_);
  while (!late_.empty() && late_.front().due <= due) {
    const auto delivery = std::move(late_.front());
    late_.pop_front();
    delivery.deliver();
  }
}

void in_process_core::fail_late() {
  for (const auto& each : std::exchange(late_, {})) {
    if (each.fail) each.fail();
  }
}

bool in_process_core::pass_time() {
  const auto present = now();
  time_point due;
  {
    std::lock_guard lock(mutex_);
    const auto answer = std::find_if(late_.begin(), late_.end(),
                                     [](const late_delivery& each) { return bool(each.fail); });
    if (answer == late_.end()) return false;
    due = answer->due;
  }
  if (due > present) network_->spend(std::chrono::ceil<std::chrono::milliseconds>(due - present));
  // Also where a sleep takes no time, as inside a step of the clock.
  deliver_until(due);
  return true;
}

void in_process_core::wait_in_vain() {
  {
    std::lock_guard lock(mutex_);
    if (silent_) return;
  }
  network_->spend(call_time_out);
  std::lock_guard lock(mutex_);
  silent_ = true;
}

in_process_core::time_point in_process_core::now() const {
  return network_->clock_now().value_or(time_point{});
}

}  // namespace nx
