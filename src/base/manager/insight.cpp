#include "base/manager/insight.h"

#include <rapidjson/document.h>

#include "api/volatile_value.h"
#include "base/insight/event_log.h"
#include "helpers/guard_register.h"
#include "platform/value_tree/event_frame.h"
#include "platform/wire/json_conversion.h"

namespace manager {

namespace {

using nx::json_allocator;
using nx::json_value;

double seconds_of(std::chrono::nanoseconds time) {
  return std::chrono::duration<double>(time).count();
}

json_value active_guards(const helpers::guard_register::state& guard, json_allocator& allocator) {
  json_value list(rapidjson::kArrayType);
  for (const auto& [subject, active] : guard.active) {
    json_value entry(rapidjson::kObjectType);
    entry.AddMember("on", nx::to_json(subject, allocator), allocator);
    entry.AddMember("since", nx::to_json(nx::event_time(active.since), allocator), allocator);
    entry.AddMember("reason", nx::to_json(active.reason, allocator), allocator);
    entry.AddMember("withheld", json_value(active.withheld), allocator);
    list.PushBack(entry, allocator);
  }
  return list;
}

}  // namespace

void cycle_times::add(double lasted) {
  ++count;
  seconds += lasted;
  for (std::size_t i = 0; i < bounds.size(); ++i)
    if (lasted <= bounds[i]) ++within[i];
}

void insight::setup_api(nx_db& db) {
  const auto self = shared_from_this();
  ::insight::event_log::instance().publish(db);
  values_->add_value(
      nx::api::volatile_value<&insight::get_guards>::create(db, "insight/guards", self), 0);
  values_->add_value(
      nx::api::volatile_value<&insight::get_cycle>::create(db, "insight/cycle", self), 0);
  values_->add_value(
      nx::api::volatile_value<&insight::get_cycles>::create(db, "insight/cycles", self), 0);
}

void insight::note_cycle(cycle_record record) {
  const std::lock_guard lock(mutex_);
  record.number = cycle_.number + 1;
  cycle_ = record;
  times_.add(seconds_of(record.lasted));
}

nx::json_document insight::get_guards() {
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  for (const auto& guard : helpers::guard_register::instance().states()) {
    json_value entry(rapidjson::kObjectType);
    entry.AddMember("withheld", json_value(guard.withheld), allocator);
    entry.AddMember("active", active_guards(guard, allocator), allocator);
    document.AddMember(nx::to_json(guard.name, allocator), entry, allocator);
  }
  return document;
}

nx::json_document insight::get_cycle() {
  const auto last = [this] {
    const std::lock_guard lock(mutex_);
    return cycle_;
  }();
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  document.AddMember("number", json_value(last.number), allocator);
  document.AddMember("begin", nx::to_json(nx::event_time(last.begin), allocator), allocator);
  document.AddMember("seconds", json_value(seconds_of(last.lasted)), allocator);
  document.AddMember("waited", json_value(seconds_of(last.reads.waited)), allocator);
  document.AddMember("requests", json_value(std::uint64_t{last.reads.requests}), allocator);
  document.AddMember("waits", json_value(std::uint64_t{last.reads.waits}), allocator);
  document.AddMember("turn", json_value(rapidjson::StringRef(last.turn)), allocator);
  return document;
}

nx::json_document insight::get_cycles() {
  const auto times = [this] {
    const std::lock_guard lock(mutex_);
    return times_;
  }();
  nx::json_document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  document.AddMember("count", json_value(times.count), allocator);
  document.AddMember("seconds", json_value(times.seconds), allocator);
  json_value within(rapidjson::kArrayType);
  for (std::size_t i = 0; i < times.within.size(); ++i) {
    json_value entry(rapidjson::kArrayType);
    entry.PushBack(cycle_times::bounds[i], allocator).PushBack(times.within[i], allocator);
    within.PushBack(entry, allocator);
  }
  document.AddMember("within", within, allocator);
  return document;
}

}  // namespace manager
