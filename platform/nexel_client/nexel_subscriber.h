// Callbacks of a client: the values of a subscribed path, and the state of a connection.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/wire/json.h"
#include "platform/wire/nx_client_exception.h"

enum class subscription_ended_rc { removed, dropped };

/// Clients hold it through std::weak_ptr: dropping it ends the subscription. The three send_...
/// operations run on the I/O thread and must only store.
class nexel_subscriber {
 public:
  explicit nexel_subscriber(std::string path) : path_(std::move(path)) {}
  virtual ~nexel_subscriber() = default;

  const std::string& get_path() const { return path_; }

  /// Called once with the present value, then on every change.
  virtual void send_changed_value_event(std::string_view path, const nx::json_value& value) = 0;
  /// The value is in error, the connection was lost, or the nexel refused the subscription (which
  /// is retried every second).
  virtual void send_exception_event(std::string_view path, const nx_client_exception& error) = 0;
  virtual void send_subscription_ended_event(std::string_view path, subscription_ended_rc rc) = 0;

  // Other moments in a subscription's life.
  virtual void subscription_requested() {}
  virtual void subscription_confirmed() {}

 private:
  std::string path_;
};

/// Runs on a separate serial executor, never on the I/O thread: it may block on a lock that is held
/// across a call. `name` is the one given to the client's `create`.
class nexel_connection_subscriber {
 public:
  virtual ~nexel_connection_subscriber() = default;
  virtual void connection_established_event(const std::string& name) = 0;
  virtual void connection_lost_event(const std::string& name) = 0;
};
