// Client of the node's key store (Redis). Its endpoint is the library's own setting, the
// environment variable KVS_URL: "unix:///path", "tcp://host:port" or "memory:" (a store inside the
// process, for tests); default "tcp://127.0.0.1:6379". A password may stand in it, which no text of
// the client shows. NX_ROOT does not apply.
//
// One thread at a time. After a failed exchange the connection is dead and says so at the next
// call; an answer that is an error of the store leaves it alive. The process ignores SIGPIPE.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/wire/failure.h"

/// Tenths of a second, for a command as a whole; 10 in all calls of this system.
struct kvs_timeout {
  constexpr kvs_timeout(unsigned number) : tenths(number) {}  // NOLINT: a plain number
  unsigned tenths;
};

class kvs_client {
 public:
  /// Connects at the first call. The two strings name the client in the store's client list.
  kvs_client(const std::string& name, const std::string& user);
  ~kvs_client();
  kvs_client(const kvs_client&) = delete;
  kvs_client& operator=(const kvs_client&) = delete;

  /// True if the store answers. Throws kvs_client_exception, also for a store that answers but is
  /// loading its data or wants a password.
  bool ping();

  /// What became of one command of an exchange.
  struct answer {
    std::string text;
    std::optional<std::string> failure;  ///< the store's error; what a single call throws
  };
  /// A ping and the reads of these keys, in this order, sent together and waited for once. The
  /// ping's text is "PONG" if the store is well. Throws kvs_client_exception when the exchange
  /// fails, and as `ping` does. Only reads: a write that stands behind a test cannot be taken back
  /// when it fails.
  std::vector<answer> ping_and_get(const std::vector<std::string>& keys, kvs_timeout timeout);

  /// A key that does not exist reads as an empty text. Values are binary safe. T: std::string.
  template <class T>
  T get(const std::string& key, kvs_timeout timeout);

  /// T: std::string, float (written as the shortest decimal that reads back).
  void set(const std::string& key, const std::string& value, kvs_timeout timeout);
  template <class T>
  void set(const std::string& key, const T& value, kvs_timeout timeout);

  class connection;

 private:
  std::unique_ptr<connection> connection_;
};

namespace kvs {

/// The process is about to end: no command of any client waits for longer than this any more.
void announce_end(std::chrono::milliseconds patience);

}  // namespace kvs

/// The "memory:" store of this process, shared by all its clients.
namespace kvs_memory {
void set(const std::string& key, const std::string& value);
std::string get(const std::string& key);
void clear();
/// While false every call throws kvs_client_exception, as with a store that is down.
void set_available(bool available);
}  // namespace kvs_memory
