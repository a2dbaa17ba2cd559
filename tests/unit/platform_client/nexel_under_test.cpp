#include "nexel_under_test.h"

#include <boost/asio/io_context.hpp>
#include <thread>

#include "platform/value_tree/nx_server.h"
#include "tests/support/temp_folder.h"

namespace client_test {

namespace {

/// Time moves by hand, a second a turn.
class in_process_nexel : public nexel_under_test {
 public:
  in_process_nexel() {
    network_.set_clock([this] { return now_; });
    network_.set_wait([this](std::chrono::milliseconds time) { now_ += time; });
    network_.attach(address(), tree);
  }

  std::shared_ptr<nexel_client_api> connect(
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber) override {
    return nexel_client::create(nullptr, address(), "nexel", std::move(connection_subscriber));
  }
  std::string address() const override { return "/tmp/nexels/tested"; }
  void set_state(nx::link_state state) override { network_.set_state(address(), state); }
  bool await(const std::function<bool()>& condition) override {
    for (int turns = 0; turns < 10 && !condition(); ++turns) {
      now_ += 1s;
      network_.deliver();
    }
    return condition();
  }

 private:
  std::chrono::steady_clock::time_point now_{};
  nx::in_process_network network_;
};

class socket_nexel : public nexel_under_test {
 public:
  socket_nexel() { set_state(nx::link_state::up); }

  std::shared_ptr<nexel_client_api> connect(
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber) override {
    return nexel_client::create(runtime_.io_context(), address(), "nexel",
                                std::move(connection_subscriber));
  }
  std::string address() const override { return folder_.file("nexel"); }
  void set_state(nx::link_state state) override {
    if (state == nx::link_state::dead) return server_.reset();
    if (!server_) {
      server_ = std::make_unique<nx::nx_server>(runtime_, tree, address());
      server_->start_accepting();
    }
    server_->set_fault(state == nx::link_state::hung ? nx::server_fault::hung
                                                     : nx::server_fault::none);
  }
  bool await(const std::function<bool()>& condition) override {
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!condition() && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(1ms);
    return condition();
  }

 private:
  test::temp_folder folder_;
  nx::server_runtime runtime_;
  std::unique_ptr<nx::nx_server> server_;
};

}  // namespace

std::unique_ptr<nexel_under_test> nexel_under_test::in_process() {
  return std::make_unique<in_process_nexel>();
}

std::unique_ptr<nexel_under_test> nexel_under_test::over_socket() {
  return std::make_unique<socket_nexel>();
}

}  // namespace client_test
