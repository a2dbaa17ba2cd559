// A connection to one nexel: blocking reads and writes of single paths, and subscriptions.
// Creating a client never waits for the nexel; it connects in the background, keeps trying, and
// subscribes again after a reconnect. A call made while the nexel is away fails with -107, a call
// that is not answered within 2 s with -110.
//
// Blocking calls come from any thread but the I/O thread, which resolves them.
#pragma once

#include <memory>
#include <string>

#include "platform/nexel_client/nexel_request.h"
#include "platform/nexel_client/nexel_subscriber.h"

namespace boost::asio {
class io_context;
}

class nexel_client_base {
 public:
  virtual ~nexel_client_base() = default;
  /// Sends the request and returns at once; the objects' promises are resolved later.
  virtual void server_call(std::shared_ptr<nexel_request> request) = 0;
};

class nexel_client_api : public nexel_client_base {
 public:
  /// Registers a subscription; the client keeps a std::weak_ptr.
  virtual void add_subscriber(std::shared_ptr<nexel_subscriber> subscriber) = 0;

  /// The nexel's address, as its transport names it; may be empty.
  virtual std::string address() const { return {}; }

  /// One blocking read. T: bool, float, int, unsigned int, std::string. Throws nx_client_exception.
  template <class T>
  T get(const std::string& path);

  /// One blocking write. R: void for a plain write, bool or int for a command with an answer.
  template <class R>
  R set(const std::string& path, bool value);
  template <class R>
  R set(const std::string& path, float value);
  template <class R>
  R set(const std::string& path, int value);
  template <class R>
  R set(const std::string& path, const std::string& value);
  template <class R>
  R set(const std::string& path, const char* value);

  /// A write that is in flight when this returns; `wait_for` returns its answer. R and Value: void
  /// with float or const char*, bool with std::string.
  template <class R, class Value>
  std::future<R> send_set(const std::string& path, const Value& value);

  /// Waits for one answer to what `server_call` or `send_set` has sent. T: void, bool, float,
  /// unsigned int, std::string. While waiting it calls `gives_up` now and then; if that returns
  /// true, the call fails as with a nexel that is away.
  template <class T>
  T wait_for(std::future<T>& answer, const std::string& path, bool (*gives_up)() = nullptr);

  /// `observer` is called on the caller's thread after each blocking call, whatever its result.
  /// Null removes it. Set it before there are threads that make calls.
  static void after_each_call(void (*observer)());

 protected:
  /// True on the thread that resolves the answers, where a blocking call would wait for itself.
  virtual bool on_io_thread() const { return false; }
  /// True once nobody runs the sockets any more: a pending call then fails with -107.
  virtual bool is_abandoned() const { return false; }
  /// If answers wait for a test's clock: advances it to the next one. Otherwise returns false.
  virtual bool pass_time() { return false; }

 private:
  void send(const std::shared_ptr<nexel_request>& request);
};

class nexel_client {
 public:
  /// Over the unix socket at `socket_path` (NX_ROOT is prefixed), or to the tree attached there if
  /// the in-process transport is installed.
  static std::shared_ptr<nexel_client_api> create(
      std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path, std::string name,
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber);
};

/// A client over TCP on IPv6; a separate class because users hold it by this type.
class nexel_ipv6_client : public nexel_client_api {
 public:
  /// `interface` scopes a link-local `host`. In-process: the tree attached at
  /// "[host%interface]:port".
  static std::shared_ptr<nexel_ipv6_client> create(
      std::shared_ptr<boost::asio::io_context> io, const std::string& interface,
      const std::string& host, unsigned port, std::string name,
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber);
};
