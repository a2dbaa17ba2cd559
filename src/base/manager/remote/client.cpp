#include "base/manager/remote/client.h"

#include "device/interfaces/osc.h"
#include "device/subscriber.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/nx_error.h"

namespace manager::remote {

namespace {

/// The default of the peer's own port option; what this node was started with does not matter.
constexpr unsigned peer_port = 5100;

}  // namespace

void client::connection_established_event(const std::string& name) {
  const std::lock_guard lock(mutex_);
  LUMORA_LOG(2, "Remote connection established: {}", name);
  connected = true;
}

void client::connection_lost_event(const std::string& name) {
  std::shared_ptr<nexel_ipv6_client> lost;  // ends after the lock is free
  const std::lock_guard lock(mutex_);
  LUMORA_LOG(2, "Remote connection lost: {}", name);
  connected = false;
  lost.swap(client_);
}

void client::connect(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc) {
  const std::lock_guard lock(mutex_);
  if (client_) return;
  try {
    open(db, *osc);
  } catch (...) {
    helpers::log_current_exception();
  }
}

void client::open(nx_db& db, ::device::interfaces::osc& osc) {
  const std::string address = osc.get_neighbour();
  const auto separator = address.find('%');
  if (separator == std::string::npos) {
    LUMORA_LOG(0, "Invalid remote address: {}", address);
    return;
  }
  client_ =
      nexel_ipv6_client::create(db.get_io_context(), address.substr(separator + 1),
                                address.substr(0, separator), peer_port, address, weak_from_this());
}

void client::disconnect() {
  std::shared_ptr<nexel_ipv6_client> dropped;  // ends after the lock is free
  const std::lock_guard lock(mutex_);
  connected = false;
  dropped.swap(client_);
}

nexel_ipv6_client& client::open_client() {
  if (!client_) throw nx_error(-5, "Not connected to remote nexel");
  return *client_;
}

std::string client::get(const std::string& path) {
  const std::lock_guard lock(mutex_);
  return open_client().get<std::string>(path);
}

template <class T>
void client::subscribe(::device::subscriber& subscriber, const std::string& path) {
  const std::lock_guard lock(mutex_);
  open_client();
  subscriber.subscribe<T>(client_, path);
}

template void client::subscribe<float>(::device::subscriber&, const std::string&);
template void client::subscribe<bool>(::device::subscriber&, const std::string&);
template void client::subscribe<std::string>(::device::subscriber&, const std::string&);

}  // namespace manager::remote
