#include "platform/in_process/network.h"

#include "platform/in_process/core.h"

namespace nx {

std::shared_ptr<client_core> in_process_network::impl::create_core(
    const std::string& address, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  return in_process_core::create(shared_from_this(), address, std::move(name),
                                 std::move(connection_subscriber));
}

std::shared_ptr<in_process_link> in_process_network::impl::link(const std::string& address) {
  std::lock_guard lock(mutex);
  auto& link = links[address];
  if (!link) {
    link = std::make_shared<in_process_link>();
    link->address = address;
  }
  return link;
}

void in_process_network::impl::change(const std::string& address,
                                      const std::function<void(in_process_link&)>& change_link) {
  auto changed = link(address);
  change_link(*changed);
  for (const auto& client : live_clients()) {
    if (client->uses(*changed)) client->link_changed();
  }
}

std::vector<std::shared_ptr<in_process_core>> in_process_network::impl::live_clients() {
  std::lock_guard lock(mutex);
  std::erase_if(clients, [](const auto& one) { return one.expired(); });
  std::vector<std::shared_ptr<in_process_core>> live;
  for (const auto& one : clients) {
    if (auto client = one.lock()) live.push_back(std::move(client));
  }
  return live;
}

std::optional<in_process_network::impl::time_point> in_process_network::impl::clock_now() {
  std::function<time_point()> clock;
  {
    std::lock_guard lock(mutex);
    clock = now;
  }
  return clock ? std::optional(clock()) : std::nullopt;
}

void in_process_network::impl::spend(std::chrono::milliseconds time) {
  std::function<void(std::chrono::milliseconds)> sleep;
  {
    std::lock_guard lock(mutex);
    sleep = wait;
  }
  if (sleep) sleep(time);
}

void in_process_network::impl::post(std::function<void()> event) {
  std::lock_guard lock(mutex);
  events.push_back(std::move(event));
}

// A receiver's call may spend time on the clock, which calls `deliver` again: the inner call does
// nothing, and the outer one continues until all events are raised.
void in_process_network::impl::deliver() {
  if (delivering.exchange(true)) return;
  struct end_of_delivery {
    std::atomic<bool>& delivering;
    ~end_of_delivery() { delivering = false; }
  } end{delivering};
  raise_events();  // its owner may drop a client that lost its connection; it is then not
                   // reconnected
  for (const auto& client : live_clients())
    client->refresh();
  raise_events();
}

void in_process_network::impl::raise_events() {
  std::unique_lock lock(mutex);
  while (!events.empty()) {
    const auto event = std::move(events.front());
    events.pop_front();
    lock.unlock();
    event();
    lock.lock();
  }
}

in_process_network::in_process_network() : impl_(std::make_shared<impl>()) {
  install_transport(impl_);
}

in_process_network::~in_process_network() {
  remove_transport(*impl_);
  std::lock_guard lock(impl_->mutex);
  impl_->events.clear();
  for (auto& [address, link] : impl_->links)
    link->db = nullptr;
}

// The sessions of a tree end while the tree still exists.
void in_process_network::attach(const std::string& address, nx_db& db) {
  const link_state state = impl_->link(address)->state;
  detach(address);
  impl_->change(address, [&](in_process_link& link) {
    link.state = state;
    link.db = &db;
  });
}

void in_process_network::detach(const std::string& address) {
  set_state(address, link_state::dead);
  impl_->change(address, [](in_process_link& link) {
    link.db = nullptr;
    link.state = link_state::up;
  });
}

void in_process_network::set_state(const std::string& address, link_state state) {
  impl_->change(address, [&](in_process_link& link) { link.state = state; });
}

void in_process_network::set_latency(const std::string& address,
                                     std::chrono::milliseconds latency) {
  impl_->link(address)->latency = latency;
}

std::set<std::string> in_process_network::addresses_in_use() const {
  std::set<std::string> addresses;
  for (const auto& client : impl_->live_clients())
    addresses.insert(client->address());
  return addresses;
}

void in_process_network::set_wait(std::function<void(std::chrono::milliseconds)> wait) {
  std::lock_guard lock(impl_->mutex);
  impl_->wait = std::move(wait);
}

void in_process_network::set_clock(std::function<std::chrono::steady_clock::time_point()> now) {
  std::lock_guard lock(impl_->mutex);
  impl_->now = std::move(now);
}

void in_process_network::retry_subscriptions() {
  for (const auto& client : impl_->live_clients())
    client->refresh();
}

void in_process_network::deliver() {
  impl_->deliver();
}

}  // namespace nx
