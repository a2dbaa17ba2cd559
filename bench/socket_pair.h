// Blocking stream sockets with whole messages, as thin as possible.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

constexpr std::size_t message_bytes = 64;

class socket {
 public:
  explicit socket(int number) : number_(number) {}
  ~socket();
  socket(socket&& other) noexcept;
  socket& operator=(socket&&) = delete;

  int number() const { return number_; }
  /// All of it; throws std::runtime_error when the other side is gone.
  void send(const char* bytes, std::size_t size) const;
  void receive(char* bytes, std::size_t size) const;
  std::size_t receive_some(char* bytes, std::size_t size) const;

 private:
  int number_;
};

struct socket_pair {
  socket_pair();
  socket near;
  socket far;

 private:
  explicit socket_pair(const int (&ends)[2]);
};

/// Waits until a server listens there.
socket connect_to(const std::string& path);

/// Starts a server's publishing: one message to this many listeners, this many events.
struct trigger {
  unsigned listeners = 0;
  unsigned events = 0;
};
void pull(const socket& to, trigger wanted);
/// The next one; false at the end of the stream.
bool await(const socket& from, trigger& wanted);

}  // namespace bench
