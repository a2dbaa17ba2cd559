// One client connection of a server. Its socket lives on the I/O thread; its requests are executed
// one at a time, on the I/O thread if none of them may block or takes long, otherwise on a worker.
// No turn of it occupies the I/O thread or a worker for longer than a single request takes.
//
// Locks: subscription_mutex_, then a node's own mutex, then a node's list of subscribers, then
// sending_mutex_, then the outbox. Publishing enters through `deliver` with a node's mutex held and
// never takes the first.
#pragma once

#include <array>
#include <atomic>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/threads/light_mutex.h"
#include "platform/value_tree/nx_session.h"
#include "platform/value_tree/server/request_handler.h"
#include "platform/value_tree/server/session_host.h"
#include "platform/value_tree/server/session_outbox.h"
#include "platform/wire/line_splitter.h"

namespace nx {

class subscribing;

class session : public nx_session, public subscription_port {
 public:
  using socket = boost::asio::generic::stream_protocol::socket;

  session(std::shared_ptr<session_host> host, socket stream, access rights, std::string name);

  // On the I/O thread.
  void start();
  void flush();
  /// Those that an event has woken, one after the other.
  static void flush(const std::vector<std::shared_ptr<nx_session>>& sessions);
  void resume();  ///< after the server was hung
  void node_added(const std::string& path);
  /// Logs the reason unless it is empty: a client that leaves is not worth a line.
  void close(const std::string& reason);
  /// It has asked for nothing since `time`; silent: and has no subscription.
  bool is_idle_since(std::chrono::steady_clock::time_point time) const {
    return last_asked_ <= time && !busy_;
  }
  bool is_silent_since(std::chrono::steady_clock::time_point time) const {
    return is_idle_since(time) && !has_subscriptions();
  }
  bool has_subscriptions() const { return outbox_.subscriptions() > 0; }

  /// Sends pending output on the publishing thread; false if the I/O thread has to do it.
  bool send_at_once();

  // nx_session, called from any thread.
  nx_subscription_number subscription_number(const std::string& path) const override;
  void deliver(nx_event_ptr event, nx_subscription_number subscription, bool first) override;
  void subscription_ended(const std::string& path, const std::string& reason) override;
  bool is_closed() const override { return closed_; }

  // subscription_port, called within a request of this session.
  void subscribe(const std::string& path, json_allocator& allocator, std::string& members) override;
  void unsubscribe(const std::string& path) override;
  void take_back() override;
  std::size_t first_event_bytes() const override { return outbox_.first_event_bytes(); }
  bool is_gone() const override { return gone_ || closed_; }

 private:
  std::shared_ptr<session> self();
  void wake(bool needed);

  void read();
  void on_read(const boost::system::error_code& failed, std::size_t size);
  void process();
  void process_lines();
  void process_soon();
  void process_later();
  bool no_room_for_large() const;
  bool handle_lines();
  bool next_line(std::string& storage, std::string_view& line);
  std::vector<std::string> lines_for_worker(std::string_view first);
  void dispatch(std::vector<std::string> lines, effort takes);
  void run_lines(std::vector<std::string>& lines, effort allowed);
  void start_job(effort takes, std::function<std::vector<std::string>()> job);
  void job_done(std::vector<std::string> left);
  bool has_hung_up();
  bool look_whether_gone();
  void watch_whether_gone();
  bool may_leave(std::size_t bytes);
  void discard_output();
  void count_sending();

  enum class sent { all, part, failed };
  void send_all();
  sent send_waiting();
  bool send_only();
  void wait_until_writable();
  void writable();
  void watch_progress();
  bool is_paused() const;
  void check_output_limit();
  void finish();

  void let_go(const std::vector<std::shared_ptr<nx_db_leaf_node>>& nodes);
  void subscribe_pattern(const std::string& pattern, subscribing& work);
  bool subscribe_added_at_once();
  void subscribe_added(const std::vector<std::string>& paths);

  const std::shared_ptr<session_host> host_;
  const std::string name_;
  const request_handler handler_;
  session_outbox outbox_;
  std::recursive_mutex subscription_mutex_;
  std::atomic<bool> closed_{false};
  std::atomic<bool> gone_{false};  // nobody reads its answers; its writes are still carried out

  // For the request being executed: how to undo its last subscription.
  struct undoing {
    std::string path;
    bool held_before = false;
  };
  std::optional<undoing> undoing_;
  bool hears_ = false;  // it has ever subscribed to something

  // Released once the session is closed: a node may hold the session for longer than the I/O thread
  // lives.
  struct connection {
    socket stream;
    boost::asio::steady_timer progress_timer;
    boost::asio::steady_timer room_timer;
  };

  // Used only by the I/O thread.
  std::optional<connection> connection_;
  std::array<char, 16 * 1024> input_;
  line_splitter splitter_{limits::line_bytes};
  std::deque<std::string> backlog_;  // lines that a worker gave back
  std::vector<std::string> added_;   // under a pattern, while a request was executed
  std::chrono::steady_clock::time_point last_asked_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point turn_began_ = last_asked_;
  std::size_t job_bytes_ = 0;   // of the lines that a worker has
  std::size_t left_bytes_ = 0;  // in what clients left that have gone
  bool reading_ = false;
  bool ended_ = false;    // the client sends no more
  bool busy_ = false;     // a worker executes requests
  bool stalled_ = false;  // requests wait until the client has taken answers

  // Held by the sending thread, and only as long as the socket accepts output without blocking.
  light_mutex sending_mutex_;
  std::string sending_;
  std::size_t sent_ = 0;
  std::size_t sending_counted_ = 0;  // its share of the pending output of all sessions
  int descriptor_ = -1;              // while the session is open
  bool local_ = false;               // a unix socket
  bool blocked_ = false;             // the socket is full; changed only by the I/O thread
};

}  // namespace nx
