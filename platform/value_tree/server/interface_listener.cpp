#include "platform/value_tree/server/interface_listener.h"

#include <fmt/format.h>

#include <set>
#include <system_error>

#include "platform/note_log/note_log.h"

namespace nx {

interface_listener::interface_listener(boost::asio::io_context& io, std::string interface_name,
                                       unsigned port, accepted_callback accepted,
                                       gone_callback gone)
    : io_(io),
      timer_(io),
      interface_(std::move(interface_name)),
      port_(port),
      accepted_(std::move(accepted)),
      gone_(std::move(gone)) {}

void interface_listener::start() {
  look();
}

void interface_listener::stop() {
  stopped_ = true;
  timer_.cancel();
  for (const auto& [where, listening] : listeners_)
    listening->stop();
}

void interface_listener::look() {
  if (stopped_) return;
  const auto present = interface_addresses(interface_);
  leave_all_but(present);
  for (const auto& address : present)
    come(address);
  if (present.empty()) {
    warn_once(fmt::format("Interface {} is missing, listening on it once it is there", interface_));
  }
  timer_.expires_after(look_interval);
  timer_.async_wait([self = shared_from_this()](const boost::system::error_code& cancelled) {
    if (!cancelled) self->look();
  });
}

void interface_listener::leave_all_but(const std::vector<sockaddr_in6>& present) {
  std::set<place> stay;
  for (const auto& address : present)
    stay.insert(place_of(address));
  for (auto at = listeners_.begin(); at != listeners_.end();) {
    if (stay.contains(at->first)) {
      ++at;
      continue;
    }
    at->second->stop();
    const auto left = listeners_.extract(at++);
    gone_(left.key().first);
  }
}

interface_listener::place interface_listener::place_of(const sockaddr_in6& address) const {
  return {endpoint_text(address, port_), address.sin6_scope_id};
}

void interface_listener::come(const sockaddr_in6& address) {
  const auto where = place_of(address);
  if (listeners_.contains(where)) return;
  const auto& endpoint = where.first;
  try {
    auto made = std::make_shared<listener>(
        io_, listen_on(address, port_, interface_),
        [accepted = accepted_, endpoint](owned_fd connection) {
          accepted(std::move(connection), endpoint);
        },
        accepts_a_second);
    made->start();
    listeners_.emplace(where, std::move(made));
    warned_.clear();
    note_log::write(note_log::info, "nexel_api", "Listening on " + endpoint);
  } catch (const std::system_error& failure) {
    // Retried at the next look. The address of an interface that has just appeared is not settled
    // for a second or two, which is not worth a log line.
    if (failure.code() != std::errc::address_not_available) warn_once(failure.what());
  }
}

// A state lasts for many looks but is logged once.
void interface_listener::warn_once(const std::string& state) {
  if (state == warned_) return;
  warned_ = state;
  note_log::write(note_log::warning, "nexel_api", state);
}

}  // namespace nx
