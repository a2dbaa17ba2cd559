// Client of the node's key store (Redis). Its address comes from the environment variable KVS_URL:
// "unix:///path", "tcp://host:port" or "memory:" (a store inside the process, for tests); default
// "tcp://127.0.0.1:6379". It may contain a password, which the client never shows in a text.
// NX_ROOT does not apply.
//
// One thread at a time. After a failed exchange the connection is dead and reports that at the next
// call; an error answered by the store leaves it alive. The process ignores SIGPIPE.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/wire/failure.h"

/// Tenths of a second, for a whole command; 10 in all calls of this system.
struct kvs_timeout {
  constexpr kvs_timeout(unsigned number) : tenths(number) {}  // implicit: a plain number
  unsigned tenths;
};

class kvs_client {
 public:
  /// Connects at the first call. The two strings name the client in the store's client list.
  kvs_client(const std::string& name, const std::string& user);
  ~kvs_client();
  kvs_client(const kvs_client&) = delete;
  kvs_client& operator=(const kvs_client&) = delete;

  /// True if the store answers. Throws kvs_client_exception, also if the store answers but is
  /// loading its data or wants a password.
  bool ping();

  /// The result of one command of an exchange.
  struct answer {
    std::string text;
    std::optional<std::string> failure;  ///< the store's error; a single call would throw it
  };
  /// A ping and the reads of these keys, in this order, sent together and awaited once. The ping's
  /// text is "PONG" if the store is well. Throws kvs_client_exception if the exchange fails, and as
  /// `ping` does. Reads only: a write that follows a test cannot be undone if the test fails.
  std::vector<answer> ping_and_get(const std::vector<std::string>& keys, kvs_timeout timeout);

  /// A key that does not exist reads as an empty text. Values are binary safe. T: std::string.
  template <class T>
  T get(const std::string& key, kvs_timeout timeout);

  /// T: std::string, float (written as the shortest decimal that reads back to the same float).
  void set(const std::string& key, const std::string& value, kvs_timeout timeout);
  template <class T>
  void set(const std::string& key, const T& value, kvs_timeout timeout);

  class connection;

 private:
  std::unique_ptr<connection> connection_;
};

namespace kvs {

/// The process is about to exit: from now on no command of any client waits longer than this.
void announce_end(std::chrono::milliseconds patience);

}  // namespace kvs

/// The "memory:" store of this process, shared by all its clients.
namespace kvs_memory {
void set(const std::string& key, const std::string& value);
std::string get(const std::string& key);
void clear();
/// While false, every call throws kvs_client_exception, as if the store were down.
void set_available(bool available);
}  // namespace kvs_memory
