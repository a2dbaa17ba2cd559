#include "base/manager/remote/client.h"

#include <utility>

#include "device/interfaces/osc.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/value_tree/nx_db.h"

namespace manager::remote {

namespace {

using namespace std::chrono_literals;

/// The default of the peer's own port option; this node's option does not matter.
constexpr unsigned peer_port = 5100;
/// A connection takes much less than this; one that takes longer may lead to a neighbour that has
/// gone.
constexpr auto address_check_interval = 1s;

bool is_valid(const std::string& address) {
  return address.find('%') != std::string::npos;
}

}  // namespace

/// The events of one connection. One that is raised while its connection is being dropped comes too
/// late, and must not be taken for an event of the next.
class client::events_of : public nexel_connection_subscriber {
 public:
  events_of(std::weak_ptr<client> owner, connection_number number)
      : owner_(std::move(owner)), number_(number) {}

  void connection_established_event(const std::string& name) override {
    if (const auto owner = owner_.lock()) owner->established(number_, name);
  }
  void connection_lost_event(const std::string& name) override {
    if (const auto owner = owner_.lock()) owner->lost(number_, name);
  }

 private:
  const std::weak_ptr<client> owner_;
  const connection_number number_;
};

void client::established(connection_number number, const std::string& name) {
  const std::lock_guard lock(mutex_);
  if (!client_ || number != number_) return;
  LUMORA_LOG(2, "Remote connection established: {}", name);
  up_ = number;
}

void client::lost(connection_number number, const std::string& name) {
  std::shared_ptr<nexel_ipv6_client> dropped;  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  if (!client_ || number != number_) return;
  LUMORA_LOG(2, "Remote connection lost: {}", name);
  dropped = release();
}

void client::connect(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc) {
  std::shared_ptr<nexel_ipv6_client> dropped;
  helpers::guarded([&] {
    const bool changing = is_in_the_making();
    {
      const std::lock_guard lock(mutex_);
      if (client_ && !changing) return;
    }
    const std::string address = osc->get_neighbour();
    const std::lock_guard lock(mutex_);
    if (!is_valid(address)) {
      LUMORA_LOG(0, "Invalid remote address: {}", address);
      return;
    }
    if (client_ && (up_ != no_connection || address == address_)) return;
    if (client_) LUMORA_LOG(2, "Remote address changed from {} to {}", address_, address);
    dropped = release();
    open(db, address);
  });
}

/// True once a second while a connection is not up yet.
bool client::is_in_the_making() {
  const std::lock_guard lock(mutex_);
  const auto now = helpers::steady_now();
  if (!client_ || up_ != no_connection || now < next_look_) return false;
  next_look_ = now + address_check_interval;
  return true;
}

void client::open(nx_db& db, const std::string& address) {
  const auto separator = address.find('%');
  const auto number = ++number_;
  auto events = std::make_shared<events_of>(weak_from_this(), number);
  client_ = nexel_ipv6_client::create(db.get_io_context(), address.substr(separator + 1),
                                      address.substr(0, separator), peer_port, address, events);
  events_ = std::move(events);
  address_ = address;
  next_look_ = helpers::steady_now() + address_check_interval;
}

std::shared_ptr<nexel_ipv6_client> client::release() {
  up_ = no_connection;
  events_.reset();
  return std::exchange(client_, nullptr);
}

void client::disconnect() {
  std::shared_ptr<nexel_ipv6_client> dropped;  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  dropped = release();
}

std::shared_ptr<nexel_client_api> client::open_client(connection_number number) {
  const std::lock_guard lock(mutex_);
  if (number == no_connection || up_ != number) return nullptr;
  return client_;
}

}  // namespace manager::remote
