// One tree on its sockets: the sessions and what they share. Everything here runs on the I/O thread
// unless stated otherwise.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/value_tree/nx_server.h"
#include "platform/value_tree/server/interface_listener.h"
#include "platform/value_tree/server/listener.h"
#include "platform/value_tree/server/request_handler.h"
#include "platform/value_tree/server/runtime_impl.h"
#include "platform/value_tree/server/session_host.h"
#include "platform/value_tree/server/session_limits.h"
#include "platform/value_tree/server/unix_socket.h"

namespace nx {

struct nx_server::impl : public session_host, public std::enable_shared_from_this<impl> {
  impl(server_runtime::impl& runtime_of_server, nx_db& tree, const std::string& socket_path);

  void watch_tree();
  void start_accepting();
  void add_listener(owned_fd listening, access rights, bool tcp);
  void add_interface(const std::string& interface_name, unsigned port);
  void set_fault(server_fault wanted);
  void set_silent_limit(std::chrono::milliseconds limit);
  /// Ends everything, and returns once no worker is executing a request. On any thread but the I/O
  /// thread.
  void shut_down();

  // session_host
  void session_closed(const std::shared_ptr<session>& closed) override;
  void client_gone(const std::shared_ptr<session>& of) override { limits_.left(of); }
  void job_started() override;
  void job_done() override;

 private:
  using session_set = std::set<std::shared_ptr<session>>;

  void accept(owned_fd connection, access rights, bool tcp, const std::string& endpoint);
  void make_room_for(session_limits::origin from);
  void refuse(const owned_fd& connection, const nx_error& why) const;
  void close_silent_ones();
  void node_added(const std::string& path);
  void close_all(const session_set& closing);
  void stop_accepting();

  std::unique_ptr<unix_socket> socket_;
  bool accepting_ = false;
  bool shut_down_ = false;
  std::vector<std::shared_ptr<listener>> listeners_;
  std::vector<std::shared_ptr<interface_listener>> interfaces_;
  session_set sessions_;
  std::map<std::shared_ptr<session>, std::string> endpoints_;  // of sessions over an interface
  session_limits limits_;
  boost::asio::steady_timer silence_timer_;
  std::chrono::milliseconds silent_limit_ = limits::silent_link_session;
  unsigned long session_number_ = 0;
  std::shared_ptr<void> tree_watch_;

  std::mutex jobs_mutex_;
  std::condition_variable jobs_changed_;
  unsigned jobs_ = 0;
};

}  // namespace nx
