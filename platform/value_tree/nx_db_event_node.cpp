#include <rapidjson/document.h>

#include <algorithm>

#include "platform/value_tree/delivery_batch.h"
#include "platform/value_tree/event_frame.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_db_node.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace {

std::chrono::system_clock::time_point now_of(const nx_db* db) {
  return db != nullptr ? db->now() : std::chrono::system_clock::now();
}

nx::json_document event_params(const std::string& path, const nx_db* db) {
  nx::json_document params(rapidjson::kObjectType);
  auto& allocator = params.GetAllocator();
  const auto time = nx::event_time(now_of(db));
  params.AddMember("path", nx::to_json(path, allocator), allocator);
  params.AddMember("time", nx::to_json(time, allocator), allocator);
  return params;
}

}  // namespace

// The list to change: the list itself if no event is being sent with it, else a copy. Hundreds of
// subscribers may be added to each path.
std::shared_ptr<nx_db_event_node::subscriber_list> nx_db_event_node::to_change() const {
  if (!subscribers_) return std::make_shared<subscriber_list>();
  // An event takes its reference under the lock that is held here, and drops it without. Seeing the
  // reference dropped here also means seeing everything done before.
  std::shared_ptr<const subscriber_list>(subscribers_).reset();
  if (subscribers_.use_count() > 1) return std::make_shared<subscriber_list>(*subscribers_);
  return std::const_pointer_cast<subscriber_list>(subscribers_);
}

// A session that closes while its subscriptions are moved to another node is missed by its own
// clean-up, so closed sessions are removed here too.
void nx_db_event_node::take_off(subscriber_list& list, const std::shared_ptr<nx_session>& taken) {
  const auto leaves = [&](const auto& one) {
    return one.session == taken || one.session->is_closed();
  };
  list.erase(std::remove_if(list.begin(), list.end(), leaves), list.end());
}

nx_db_event_node::nx_db_event_node(const std::string& name) : nx_db_leaf_node(name) {}

nx_db_event_node::~nx_db_event_node() = default;

void nx_db_event_node::get(const std::string& path, json_allocator& allocator, json_value& result) {
  nx_db_leaf_node::get(path, allocator, result);
}

void nx_db_event_node::set(const std::string& path, const json_value& value) {
  nx_db_leaf_node::set(path, value);
}

bool nx_db_event_node::subscription_supported() const {
  return true;
}

void nx_db_event_node::subscribe(std::shared_ptr<nx_session> session, const std::string&,
                                 json_allocator&, json_value&,
                                 std::unique_lock<std::recursive_mutex>&) {
  add_subscriber(session, session->subscription_number(path()));
}

void nx_db_event_node::add_subscriber(const std::shared_ptr<nx_session>& session,
                                      nx_subscription_number number) {
  const std::lock_guard lock(subscribers_mutex_);
  auto list = to_change();
  take_off(*list, session);
  list->push_back({session, number});
  subscribers_ = std::move(list);
}

void nx_db_event_node::begin_text(const std::shared_ptr<nx_session>& session,
                                  nx_subscription_number number, first_text& first) {
  add_subscriber(session, number);
  first.json.clear();
  first.time = now_of(db);
}

void nx_db_event_node::unsubscribe(std::shared_ptr<nx_session> session) {
  const std::lock_guard lock(subscribers_mutex_);
  if (!subscribers_) return;
  auto list = to_change();
  take_off(*list, session);
  if (list->empty()) list = nullptr;
  subscribers_ = std::move(list);
}

nx::json_value nx_db_event_node::get_info(json_allocator& allocator) const {
  return nx_db_leaf_node::get_info(allocator);
}

nx::json_document nx_db_event_node::create_value_changed_event(std::string&& path) const {
  return event_params(path, db);
}

nx::json_document nx_db_event_node::create_error_event(std::string&& path,
                                                       const nx_error& error) const {
  json_document params = event_params(path, db);
  auto& allocator = params.GetAllocator();
  params.AddMember("error", nx::json_rpc::error_value(error, allocator), allocator);
  return params;
}

void nx_db_event_node::publish_text(std::string_view value) {
  if (db == nullptr) return;
  const auto time = db->now();
  send_to_all(nx::frame_value_event(path(), time, value), false);
  db->append_to_history(*this, time, value);
}

void nx_db_event_node::send_event_impl(json_document&& event, bool first) {
  send_to_all(nx::frame_event(event), first);
}

void nx_db_event_node::send_to_all(const nx_event_ptr& event, bool first) {
  std::shared_ptr<const subscriber_list> list;
  {
    const std::lock_guard lock(subscribers_mutex_);
    list = subscribers_;
  }
  if (!list) return;
  const nx::delivery_batch batch(list->size());
  event->hold_for(list->size());
  bool some_closed = false;
  for (const auto& [session, subscription] : *list) {
    session->deliver(held_already(event), subscription, first);
    some_closed = some_closed || session->is_closed();
  }
  if (some_closed) forget_closed_sessions();
}

// Not called by a derived class, whose own lock may be held.
void nx_db_event_node::forget_closed_sessions() {
  nx_db_event_node::unsubscribe(nullptr);
}

void nx_db_event_node::send_event_to_session_impl(json_document&& event, bool first,
                                                  std::shared_ptr<nx_session> session) {
  const auto number = session->subscription_number(*shared_path());
  session->deliver(nx::frame_event(event), number, first);
}

void nx_db_event_node::send_error_event(const nx_error& error) {
  send_event_impl(create_error_event(get_path(0), error), false);
}

bool nx_db_event_node::has_subscribers() const {
  const std::lock_guard lock(subscribers_mutex_);
  return subscribers_ && !subscribers_->empty();
}

nx_db_event_node::subscriber_list nx_db_event_node::take_subscribers() {
  const std::lock_guard lock(subscribers_mutex_);
  const auto taken = std::exchange(subscribers_, nullptr);
  return taken ? *taken : subscriber_list();
}
