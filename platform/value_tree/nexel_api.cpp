#include "platform/value_tree/nexel_api.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <condition_variable>
#include <csignal>
#include <mutex>

#include "platform/io/last_calls.h"
#include "platform/note_log/note_log.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_server.h"
#include "platform/value_tree/server/runtime_impl.h"

namespace {

// The time that a device call made just before the end may still take: the clients' own time-out.
constexpr std::chrono::seconds last_answers{2};

}  // namespace

struct nexel_api::impl {
  impl(const std::string& socket_path, unsigned tcp_port)
      : port(tcp_port),
        db(runtime->poller(), runtime->io_context()),
        server(std::make_unique<nx::nx_server>(*runtime, db, socket_path)) {}

  ~impl() {
    server.reset();
    runtime.reset();  // its threads call nodes of the tree
  }

  void watch_signals();
  void forget_signals();

  const unsigned port;
  std::unique_ptr<nx::server_runtime> runtime = std::make_unique<nx::server_runtime>();
  nx_db db;
  std::unique_ptr<nx::nx_server> server;

  // Created and dropped by `start`; one operation is pending in between.
  std::unique_ptr<boost::asio::signal_set> signals;

  std::mutex mutex;
  std::condition_variable stopped;
  bool stopping = false;
};

// On the device thread, which no client can keep busy.
void nexel_api::impl::watch_signals() {
  signals = std::make_unique<boost::asio::signal_set>(*runtime->io_context(), SIGINT, SIGTERM);
  signals->async_wait([this](const boost::system::error_code& cancelled, int signal) {
    if (cancelled) return;
    note_log::write(note_log::info, "nexel_api",
                    signal == SIGINT ? "Stopping after SIGINT" : "Stopping after SIGTERM");
    const std::lock_guard lock(mutex);
    stopping = true;
    stopped.notify_all();
  });
}

// A second signal ends a process whose orderly shutdown hangs.
void nexel_api::impl::forget_signals() {
  signals.reset();
}

nexel_api::nexel_api(const std::string& socket_path, unsigned port, bool)
    : impl_(std::make_unique<impl>(socket_path, port)) {}

nexel_api::~nexel_api() = default;

nx_db& nexel_api::get_db() {
  return impl_->db;
}

void nexel_api::start_ipv6_socket(const std::string& interface_name) {
  impl_->server->start_ipv6_socket(interface_name, impl_->port);
}

void nexel_api::start() {
  impl_->watch_signals();
  impl_->server->start_accepting();
  {
    std::unique_lock lock(impl_->mutex);
    impl_->stopped.wait(lock, [this] { return impl_->stopping; });
  }
  impl_->forget_signals();
  boost::asio::use_service<nx::last_calls>(*impl_->runtime->io_context()).announce(last_answers);
}

void nexel_api::stop() {
  const std::lock_guard lock(impl_->mutex);
  impl_->stopping = true;
  impl_->stopped.notify_all();
}
