#include "sim/nexels/faulty_reading.h"

#include <rapidjson/document.h>

#include <algorithm>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace sim {

namespace {

void add_member(nx::json_value& object, const std::string& name, nx::json_value value,
                nx::json_allocator& allocator) {
  object.AddMember(nx::to_json(name, allocator), value, allocator);
}

nx::json_value parsed(const std::string& json, nx::json_allocator& allocator) {
  return nx::json_value(nx::parse_json(json), allocator);
}

}  // namespace

shown_reading faulty_reading::true_reading() const {
  json_document scratch;
  return {nx::json_text(true_value(scratch.GetAllocator()))};
}

void faulty_reading::begin_fault(unsigned number, const reading_fault& fault, noise_source noise) {
  const std::lock_guard lock(mutex_);
  const shown_reading truth = true_reading();
  if (faults_.empty()) shown_ = truth;
  faults_.push_back({number, distortion(fault, get_path(0), truth.json, is_measured(), noise)});
  show();
}

void faulty_reading::end_fault(unsigned number) {
  const std::lock_guard lock(mutex_);
  const auto ended =
      std::erase_if(faults_, [number](const active_fault& each) { return each.number == number; });
  if (ended > 0) show();
}

void faulty_reading::step_fault(std::chrono::nanoseconds dt) {
  const std::lock_guard lock(mutex_);
  if (faults_.empty()) return;
  for (active_fault& each : faults_)
    each.effect.step(dt);
  show();
}

void faulty_reading::value_changed() {
  if (!faults_.empty()) return show();
  // A monitor changes hundreds of values a second: an event is only built if somebody subscribes,
  // and a reading has no history.
  if (has_subscribers()) send_event_impl(event_of_value(get_path(0)), false);
}

void faulty_reading::show() {
  shown_reading now = true_reading();
  if (!faults_.empty()) now = faults_.back().effect.of(now.json);
  if (now == shown_) return;
  shown_ = std::move(now);
  if (has_subscribers()) send_event_impl(event_of_shown(get_path(0)), false);
}

nx::json_document faulty_reading::event_of_value(std::string path) const {
  json_document event = create_value_changed_event(std::move(path));
  add_member(event, "value", true_value(event.GetAllocator()), event.GetAllocator());
  return event;
}

nx::json_document faulty_reading::event_of_shown(std::string path) const {
  if (shown_.error) return create_error_event(std::move(path), *shown_.error);
  json_document event = create_value_changed_event(std::move(path));
  add_member(event, "value", parsed(shown_.json, event.GetAllocator()), event.GetAllocator());
  return event;
}

void faulty_reading::get(const std::string& path, json_allocator& allocator, json_value& result) {
  const std::lock_guard lock(mutex_);
  if (faults_.empty()) return add_member(result, path, true_value(allocator), allocator);
  if (shown_.error) throw *shown_.error;
  add_member(result, path, parsed(shown_.json, allocator), allocator);
}

void faulty_reading::subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                               json_allocator& allocator, json_value& result,
                               std::unique_lock<std::recursive_mutex>& lock) {
  const std::lock_guard value_lock(mutex_);
  if (!faults_.empty() && faults_.back().effect.hides_path()) throw *shown_.error;
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  if (faults_.empty()) {
    add_member(result, path, true_value(allocator), allocator);
    return send_event_to_session_impl(event_of_value(path), true, std::move(session));
  }
  auto value = shown_.error ? nx::json_rpc::error_value(*shown_.error, allocator)
                            : parsed(shown_.json, allocator);
  if (shown_.error) {
    json_value error(rapidjson::kObjectType);
    add_member(error, "error", std::move(value), allocator);
    value = std::move(error);
  }
  add_member(result, path, std::move(value), allocator);
  send_event_to_session_impl(event_of_shown(path), true, std::move(session));
}

}  // namespace sim
