// Connection and subscriptions of the in-process client: what `socket_core_connection` and the
// subscriptions of the socket's client do, at the moments that a test chooses.
#include <rapidjson/document.h>

#include "platform/in_process/core.h"
#include "platform/nexel_client/client_errors.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_conversion.h"

namespace nx {

namespace {

constexpr std::chrono::seconds retry_interval{1};

}  // namespace

/// The client as seen by the tree's nodes, which may keep it longer than the client lives.
class in_process_session : public nx_session {
 public:
  explicit in_process_session(std::weak_ptr<in_process_core> client) : client_(std::move(client)) {}

  void deliver(nx_event_ptr event, nx_subscription_number, bool) override {
    if (auto client = client_.lock()) client->receive(event->lines);
  }

  void subscription_ended(const std::string& path, const std::string& reason) override {
    if (auto client = client_.lock()) client->subscription_ended(path, reason);
  }

  bool is_closed() const override { return client_.expired(); }

  std::recursive_mutex subscriptions_mutex;  // held by `subscribe` of the nodes

 private:
  const std::weak_ptr<in_process_core> client_;
};

std::shared_ptr<in_process_core> in_process_core::create(
    std::shared_ptr<in_process_network::impl> network, const std::string& address, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  std::shared_ptr<in_process_core> core(
      new in_process_core(network, address, std::move(name), std::move(connection_subscriber)));
  core->session_ = std::make_shared<in_process_session>(core);
  {
    std::lock_guard lock(network->mutex);
    network->clients.push_back(core);
  }
  core->connect();
  return core;
}

in_process_core::in_process_core(std::shared_ptr<in_process_network::impl> network,
                                 const std::string& address, std::string name,
                                 std::weak_ptr<nexel_connection_subscriber> connection_subscriber)
    : network_(std::move(network)),
      link_(network_->link(address)),
      name_(std::move(name)),
      connection_subscriber_(std::move(connection_subscriber)) {}

void in_process_core::subscribe(std::shared_ptr<nexel_subscriber> subscriber) {
  bool connected;
  {
    std::lock_guard lock(mutex_);
    subscriptions_.add(subscriber);
    connected = connected_;
  }
  if (connected) subscribe_due();
}

void in_process_core::subscribe_due() {
  const auto present = now();
  std::vector<std::string> due;
  {
    std::lock_guard lock(mutex_);
    due = subscriptions_.take_due(present);
  }
  for (const auto& path : due)
    subscribe_path(path);
}

// Events wait until `subscribe` has returned: the confirmation comes before the first value.
void in_process_core::subscribe_path(const std::string& path) {
  std::unique_lock session_lock(session_->subscriptions_mutex);
  {
    std::lock_guard lock(mutex_);
    holding_events_ = true;
  }
  std::optional<nx_client_exception> refusal;
  try {
    subscribe_node(path, session_lock);
  } catch (...) {
    refusal = as_client_exception(path);
  }
  const auto clock = network_->clock_now();
  const auto retry = clock ? *clock + retry_interval : time_point{};
  const auto latency = link_->latency.load();
  std::unique_lock lock(mutex_);
  holding_events_ = false;
  const auto events = std::make_shared<std::vector<json_document>>(std::exchange(held_events_, {}));
  if (latency.count() == 0) return end_subscribing(path, refusal, retry, *events);
  lock.unlock();
  postpone({{}, [=, this] { end_subscribing(path, refusal, retry + latency, *events); }, nullptr},
           latency);
}

void in_process_core::end_subscribing(const std::string& path,
                                      const std::optional<nx_client_exception>& refusal,
                                      time_point retry, const std::vector<json_document>& events) {
  if (refusal) {
    subscriptions_.refused(path, *refusal, retry);
  } else {
    subscriptions_.confirmed(path);
  }
  for (const auto& event : events)
    subscriptions_.receive(event);
}

void in_process_core::subscribe_node(const std::string& path,
                                     std::unique_lock<std::recursive_mutex>& session_lock) {
  nx_db* db = link_->db;
  if (!db) throw nx_error(nx_error::not_connected, not_connected_to(link_->address, path).message);
  if (link_->present() == link_state::hung) {
    throw nx_error(nx_error::no_answer, no_answer_from(link_->address, path).message);
  }
  json_document result(rapidjson::kObjectType);
  node_at(*db, path)->subscribe(session_, path, result.GetAllocator(), result, session_lock);
}

void in_process_core::unsubscribe(const std::vector<std::string>& paths) {
  nx_db* db = link_->db;
  if (!db) return;
  for (const auto& path : paths) {
    if (auto node = db->find(path)) node->unsubscribe(session_);
  }
}

void in_process_core::receive(const std::string& event_line) {
  const link_state state = link_->present();
  if (state == link_state::dead || state == link_state::hung || !*open_) return;
  const auto message = std::make_shared<json_document>(parse_json(event_line));
  const auto latency = link_->latency.load();
  {
    std::lock_guard lock(mutex_);
    if (holding_events_) {
      held_events_.push_back(std::move(*message));
      return;
    }
    if (latency.count() == 0 && late_.empty()) return subscriptions_.receive(*message);
  }
  postpone({{}, [this, message] { subscriptions_.receive(*message); }, nullptr}, latency);
}

void in_process_core::subscription_ended(const std::string& path, const std::string& reason) {
  std::lock_guard lock(mutex_);
  subscriptions_.ended(path, reason);
}

void in_process_core::link_changed() {
  const link_state state = link_->present();
  if (state == link_state::dead) return disconnect();
  std::lock_guard lock(mutex_);
  if (was_hung_ && state != link_state::hung) subscriptions_.renew();
  was_hung_ = state == link_state::hung;
}

void in_process_core::connect() {
  {
    std::lock_guard lock(mutex_);
    if (connected_ || link_->present() == link_state::dead) return;
    connected_ = true;
  }
  post_event(&nexel_connection_subscriber::connection_established_event);
}

void in_process_core::disconnect() {
  std::vector<std::string> ended;
  {
    std::lock_guard lock(mutex_);
    was_hung_ = false;
    if (!std::exchange(connected_, false)) return;
    fail_late();
    ended = subscriptions_.known_paths();
    subscriptions_.lost(nx_error::not_connected, not_connected_to(link_->address, {}).message);
  }
  unsubscribe(ended);
  post_event(&nexel_connection_subscriber::connection_lost_event);
}

void in_process_core::refresh() {
  deliver_until(network_->clock_now().value_or(time_point::max()));
  connect();
  std::vector<std::string> abandoned;
  {
    std::lock_guard lock(mutex_);
    if (!connected_) return;
    abandoned = subscriptions_.take_abandoned();
  }
  unsubscribe(abandoned);
  subscribe_due();
}

void in_process_core::close() {
  *open_ = false;
  std::vector<std::string> ended;
  {
    std::lock_guard lock(mutex_);
    fail_late();
    ended = subscriptions_.known_paths();
    subscriptions_.cancel();
  }
  unsubscribe(ended);
}

void in_process_core::post_event(void (nexel_connection_subscriber::*event)(const std::string&)) {
  network_->post([event, name = name_, to = connection_subscriber_, open = open_] {
    auto subscriber = to.lock();
    if (subscriber && *open) (subscriber.get()->*event)(name);
  });
}

}  // namespace nx
