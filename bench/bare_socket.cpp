#include "bench/bare_socket.h"

#include <thread>

namespace bench {
namespace {

constexpr std::size_t largest = together * message_bytes;

}  // namespace

bare_socket::bare_socket()
    : events_(most_listeners),
      child_([this] {
        std::thread publishing([this] { publish_when_told(); });
        echo();
      }),
      buffer_(largest) {}

void bare_socket::echo() const {
  std::vector<char> bytes(largest);
  for (;;) {
    const auto size = requests_.far.receive_some(bytes.data(), bytes.size());
    requests_.far.send(bytes.data(), size);
  }
}

void bare_socket::publish_when_told() const {
  const std::vector<char> bytes(burst * message_bytes);
  trigger wanted;
  while (await(triggers_.far, wanted)) {
    for (unsigned i = 0; i < wanted.listeners; ++i)
      events_[i].far.send(bytes.data(), wanted.events * message_bytes);
  }
}

void bare_socket::exchange(unsigned messages) {
  requests_.near.send(buffer_.data(), messages * message_bytes);
  requests_.near.receive(buffer_.data(), messages * message_bytes);
}

void bare_socket::publish(unsigned events) {
  pull(triggers_.near, {listeners_, events});
  for (unsigned i = 0; i < listeners_; ++i)
    events_[i].near.receive(buffer_.data(), events * message_bytes);
}

}  // namespace bench
