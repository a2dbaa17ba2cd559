// The back end of a client handle: the socket connection, or the in-process transport. Users hold
// the handle; the core is shared with handlers still in flight, so a handle may be dropped on any
// thread.
#pragma once

#include <boost/asio/io_context.hpp>
#include <memory>
#include <string>
#include <utility>

#include "platform/nexel_client/nexel_client.h"

namespace nx {

class client_core {
 public:
  virtual ~client_core() = default;
  virtual void call(const nexel_request& request) = 0;
  virtual void subscribe(std::shared_ptr<nexel_subscriber> subscriber) = 0;
  virtual bool on_io_thread() const = 0;
  /// Nobody runs the sockets any more: pending calls will never be answered.
  virtual bool is_abandoned() const = 0;
  /// A caller waits for an answer: advances the test's clock to the next delayed one. False if
  /// nothing is delayed, and with sockets.
  virtual bool pass_time() { return false; }
  /// The handle is gone: waiting calls fail with -107, and no event is raised any more.
  virtual void close() = 0;
};

/// Base: nexel_client_api or nexel_ipv6_client, which users hold by type.
template <class Base>
class client_handle final : public Base {
 public:
  client_handle(std::shared_ptr<boost::asio::io_context> io, std::string address,
                std::shared_ptr<client_core> core)
      : address_(std::move(address)), io_(std::move(io)), core_(std::move(core)) {}
  ~client_handle() override { core_->close(); }

  std::string address() const override { return address_; }

  void server_call(std::shared_ptr<nexel_request> request) override { core_->call(*request); }
  void add_subscriber(std::shared_ptr<nexel_subscriber> subscriber) override {
    core_->subscribe(std::move(subscriber));
  }

 protected:
  bool on_io_thread() const override { return core_->on_io_thread(); }
  bool is_abandoned() const override { return core_->is_abandoned(); }
  bool pass_time() override { return core_->pass_time(); }

 private:
  const std::string address_;
  std::shared_ptr<boost::asio::io_context> io_;  // destroyed after the core, whose sockets need it
  std::shared_ptr<client_core> core_;
};

}  // namespace nx
