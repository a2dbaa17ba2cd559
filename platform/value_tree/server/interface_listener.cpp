#include "platform/value_tree/server/interface_listener.h"

#include <fmt/format.h>

#include <system_error>

#include "platform/note_log/note_log.h"

namespace nx {

interface_listener::interface_listener(boost::asio::io_context& io, std::string interface_name,
                                       unsigned port, listener::accepted_callback accepted,
                                       std::function<void()> gone)
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
  if (listener_) listener_->stop();
}

void interface_listener::look() {
  if (stopped_) return;
  const auto present = interface_address(interface_);
  if (address_ && (!present || !same_address(*address_, *present))) go();
  if (!present) {
    tell_once(fmt::format("Interface {} is missing, listening on it once it is there", interface_));
  } else if (!address_) {
    come(*present);
  }
  timer_.expires_after(look_interval);
  timer_.async_wait([self = shared_from_this()](const boost::system::error_code& cancelled) {
    if (!cancelled) self->look();
  });
}

void interface_listener::come(const sockaddr_in6& address) {
  try {
    listener_ = std::make_shared<listener>(io_, listen_on(address, port_, interface_), accepted_);
    listener_->start();
    address_ = address;
    tell_once("Listening on " + endpoint_text(address, port_));
  } catch (const std::system_error& failure) {
    // Tried again at the next look. The address of an interface that has just come is not settled
    // for a second or two, which is nothing to tell.
    if (failure.code() != std::errc::address_not_available) tell_once(failure.what());
  }
}

void interface_listener::go() {
  listener_->stop();
  listener_.reset();
  address_.reset();
  gone_();
}

// A state lasts for many looks and is one line.
void interface_listener::tell_once(const std::string& state) {
  if (state == told_) return;
  told_ = state;
  note_log::write(address_ ? note_log::info : note_log::warning, "nexel_api", state);
}

}  // namespace nx
