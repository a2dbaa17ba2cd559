#include "platform/value_tree/nx_server.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>

#include "platform/io/neighbours.h"
#include "platform/note_log/note_log.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/server_impl.h"
#include "platform/value_tree/server/session.h"
#include "platform/wire/json_rpc.h"

namespace nx {

nx_server::impl::impl(server_runtime::impl& runtime_of_server, nx_db& tree,
                      const std::string& socket_path)
    : session_host(runtime_of_server, tree, socket_path),
      socket_(std::make_unique<unix_socket>(socket_path)),
      limits_(boost::asio::use_service<neighbours>(*runtime.device_io)),
      silence_timer_(*runtime.io) {
  listeners_.push_back(std::make_shared<listener>(
      *runtime.io, socket_->take(),
      [this](owned_fd connection) { accept(std::move(connection), access::full, false, {}); }));
}

// Nodes may be added under the locks of the daemon's loops, so pattern subscriptions are completed
// later, on the I/O thread.
void nx_server::impl::watch_tree() {
  tree_watch_ = db.watch_added([weak = weak_from_this()](const auto& node) {
    const auto self = weak.lock();
    if (!self || !self->has_patterns) return;
    boost::asio::post(*self->runtime.io,
                      [self, path = node->get_path(0)] { self->node_added(path); });
  });
}

void nx_server::impl::start_accepting() {
  if (std::exchange(accepting_, true)) return;
  for (const auto& one : listeners_)
    one->start();
  for (const auto& one : interfaces_)
    one->start();
}

void nx_server::impl::add_listener(owned_fd listening, access rights, bool tcp) {
  listeners_.push_back(std::make_shared<listener>(*runtime.io, std::move(listening),
                                                  [this, rights, tcp](owned_fd connection) {
                                                    accept(std::move(connection), rights, tcp, {});
                                                  }));
  if (accepting_) listeners_.back()->start();
}

void nx_server::impl::add_interface(const std::string& interface_name, unsigned port) {
  interfaces_.push_back(std::make_shared<interface_listener>(
      *runtime.io, interface_name, port,
      [this](owned_fd connection, const std::string& endpoint) {
        accept(std::move(connection), access::read_only, true, endpoint);
      },
      [this](const std::string& endpoint) {
        session_set closing;
        for (const auto& [of_it, where] : endpoints_) {
          if (where == endpoint) closing.insert(of_it);
        }
        close_all(closing);
      }));
  if (accepting_) interfaces_.back()->start();
  close_silent_ones();
}

void nx_server::impl::accept(owned_fd connection, access rights, bool tcp,
                             const std::string& endpoint) {
  if (fault == server_fault::refusing) return;
  const auto from = limits_.origin_of(connection.get(), !endpoint.empty());
  make_room_for(from);
  if (const auto why = limits_.refusal(from)) return refuse(connection, *why);
  if (tcp) tune_connection(connection.get());
  const boost::asio::generic::stream_protocol protocol(tcp ? AF_INET6 : AF_UNIX, 0);
  session::socket socket(*runtime.io, protocol, connection.release());
  const auto made = std::make_shared<session>(
      shared_from_this(), std::move(socket), rights,
      fmt::format("session {} of {}{}", ++session_number_, name,
                  tcp ? " over " + (endpoint.empty() ? "TCP" : endpoint) : ""));
  sessions_.insert(made);
  limits_.entered(made, from);
  if (!endpoint.empty()) endpoints_.emplace(made, endpoint);
  made->start();
}

// Sessions from the neighbour's own address must not keep it out, be they of other programs there
// or its own that broke off unnoticed: one that is idle, or only asks, is closed.
void nx_server::impl::make_room_for(session_limits::origin from) {
  if (from != session_limits::origin::link_neighbour || !limits_.refusal(from)) return;
  constexpr int part_of_silence = 6;  // 10 s
  const auto since = std::chrono::steady_clock::now() - silent_limit_ / part_of_silence;
  if (const auto one = limits_.gives_way(since)) {
    one->close("its place is wanted for another from its address");
  }
}

void nx_server::impl::refuse(const owned_fd& connection, const nx_error& why) const {
  note_log::write(note_log::warning, "nexel_api", why.message + " of " + name);
  const auto line = json_rpc::error_without_id(why) + '\n';
  // The socket is new and accepts it; if not, the client does without.
  [[maybe_unused]] const auto sent =
      ::send(connection.get(), line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

// The link has few places, and only a session's use of it shows whether it deserves one.
void nx_server::impl::close_silent_ones() {
  constexpr std::chrono::milliseconds longest_look{5000};
  silence_timer_.expires_after(std::min(silent_limit_ / 4, longest_look));
  silence_timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& cancelled) {
    const auto self = weak.lock();
    if (self && !cancelled) self->close_silent_ones();
  });
  const auto since = std::chrono::steady_clock::now() - silent_limit_;
  const auto present = sessions_;  // a session that closes removes itself from the set
  for (const auto& one : present) {
    if (!limits_.on_link(one) || !one->is_silent_since(since)) continue;
    const auto seconds = std::chrono::duration<double>(silent_limit_).count();
    one->close(fmt::format("it has asked for nothing for {:g} s", seconds));
  }
}

void nx_server::impl::set_silent_limit(std::chrono::milliseconds limit) {
  silent_limit_ = limit;
  if (!interfaces_.empty()) close_silent_ones();
}

void nx_server::impl::node_added(const std::string& path) {
  const auto present = sessions_;  // a session may close meanwhile
  for (const auto& one : present)
    one->node_added(path);
}

void nx_server::impl::set_fault(server_fault wanted) {
  fault = wanted;
  if (wanted == server_fault::refusing) close_all(sessions_);
  if (wanted != server_fault::none) return;
  const auto present = sessions_;
  for (const auto& one : present)
    one->resume();
}

void nx_server::impl::close_all(const session_set& closing) {
  // Closing removes them from the set.
  const std::vector<std::shared_ptr<session>> all(closing.begin(), closing.end());
  for (const auto& one : all)
    one->close({});
}

void nx_server::impl::session_closed(const std::shared_ptr<session>& closed) {
  sessions_.erase(closed);
  endpoints_.erase(closed);
  limits_.left(closed);
}

void nx_server::impl::job_started() {
  const std::lock_guard lock(jobs_mutex_);
  ++jobs_;
}

void nx_server::impl::job_done() {
  const std::lock_guard lock(jobs_mutex_);
  if (--jobs_ == 0) jobs_changed_.notify_all();
}

void nx_server::impl::stop_accepting() {
  shut_down_ = true;
  silence_timer_.cancel();
  for (const auto& one : listeners_)
    one->stop();
  for (const auto& one : interfaces_)
    one->stop();
  listeners_.clear();
  interfaces_.clear();
  socket_.reset();
}

void nx_server::impl::shut_down() {
  tree_watch_.reset();
  runtime.run_on_io([this] {
    stop_accepting();
    close_all(sessions_);
  });
  // A busy session leaves the tree only after its worker has reported to the I/O thread, and one
  // with many subscriptions in a separate job.
  const auto await_jobs = [this] {
    std::unique_lock lock(jobs_mutex_);
    const bool none = jobs_ == 0;
    jobs_changed_.wait(lock, [this] { return jobs_ == 0; });
    return none;
  };
  do {
    await_jobs();
    runtime.run_on_io([] {});
  } while (!await_jobs());
}

nx_server::nx_server(server_runtime& runtime, nx_db& db, const std::string& socket_path)
    : impl_(std::make_shared<impl>(runtime.internals(), db, socket_path)) {
  impl_->watch_tree();
}

nx_server::~nx_server() {
  impl_->shut_down();
}

void nx_server::start_accepting() {
  impl_->runtime.run_on_io([this] { impl_->start_accepting(); });
}

void nx_server::start_ipv6_socket(const std::string& interface_name, unsigned port) {
  impl_->runtime.run_on_io([&] { impl_->add_interface(interface_name, port); });
}

unsigned nx_server::start_tcp_socket(const std::string& address, unsigned port, bool read_only) {
  auto listening = listen_on(parse_address(address), port, {});
  const auto bound = bound_port(listening.get());
  impl_->runtime.run_on_io([&] {
    impl_->add_listener(std::move(listening), read_only ? access::read_only : access::full, true);
  });
  return bound;
}

void nx_server::set_fault(server_fault fault) {
  impl_->runtime.run_on_io([this, fault] { impl_->set_fault(fault); });
}

void nx_server::set_stuck_limit(std::chrono::milliseconds limit) {
  impl_->runtime.run_on_io([this, limit] { impl_->stuck_limit = limit; });
}

void nx_server::set_silent_limit(std::chrono::milliseconds limit) {
  impl_->runtime.run_on_io([this, limit] { impl_->set_silent_limit(limit); });
}

}  // namespace nx
