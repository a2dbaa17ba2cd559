// One client of the in-process transport. Calls run on the caller's thread; events on the
// publishing thread, which holds its node's mutex: they are handed to subscribers, and nothing else
// is called from there.
#pragma once

#include <rapidjson/document.h>

#include <deque>
#include <functional>
#include <mutex>

#include "platform/in_process/network_impl.h"
#include "platform/nexel_client/client_core.h"
#include "platform/nexel_client/subscription_table.h"

class nx_db_leaf_node;

namespace nx {

class in_process_session;

class in_process_core : public client_core, public std::enable_shared_from_this<in_process_core> {
 public:
  static std::shared_ptr<in_process_core> create(
      std::shared_ptr<in_process_network::impl> network, const std::string& address,
      std::string name, std::weak_ptr<nexel_connection_subscriber> connection_subscriber);

  void call(const nexel_request& request) override;
  void subscribe(std::shared_ptr<nexel_subscriber> subscriber) override;
  bool on_io_thread() const override { return false; }
  bool is_abandoned() const override { return false; }
  bool pass_time() override;
  void close() override;

  bool uses(const in_process_link& link) const { return &link == link_.get(); }
  const std::string& address() const { return link_->address; }
  /// The link has changed: ends the subscriptions if it has died.
  void link_changed();
  /// Delivers delayed messages that are due, handles a link that came back, and sends the
  /// subscriptions that are due.
  void refresh();

  void receive(const std::string& event_line);
  void subscription_ended(const std::string& path, const std::string& reason);

 private:
  using time_point = std::chrono::steady_clock::time_point;

  in_process_core(std::shared_ptr<in_process_network::impl> network, const std::string& address,
                  std::string name,
                  std::weak_ptr<nexel_connection_subscriber> connection_subscriber);

  /// In flight from a slow tree.
  struct late_delivery {
    time_point due;
    std::function<void()> deliver;  ///< called with the mutex held
    /// For an answer: called instead if the link dies first. Null for an event.
    std::function<void()> fail;
  };

  void call_object(const std::shared_ptr<nexel_object>& object);
  /// The exception that a client gets for the one thrown by a node.
  static nx_client_exception as_client_exception(const std::string& path);
  static std::shared_ptr<nx_db_leaf_node> node_at(nx_db& db, const std::string& path);
  static void read_nodes(nx_db& db, const std::string& path, json_document& result);
  static void write_node(nx_db& db, const nexel_object& object, json_document& result);
  std::function<void()> answer_of(nx_db& db, const std::shared_ptr<nexel_object>& object) const;
  void answer_late(std::chrono::milliseconds latency, const std::shared_ptr<nexel_object>& object,
                   std::function<void()> answer);
  void postpone(late_delivery delivery, std::chrono::milliseconds latency);
  void deliver_until(time_point due);
  void fail_late();  ///< called with the mutex held
  void wait_in_vain();
  time_point now() const;  ///< never called with the mutex held: the clock belongs to the test
  void connect();
  void disconnect();
  void subscribe_due();
  void subscribe_path(const std::string& path);
  void end_subscribing(const std::string& path, const std::optional<nx_client_exception>& refusal,
                       time_point retry, const std::vector<json_document>& events);
  void subscribe_node(const std::string& path,
                      std::unique_lock<std::recursive_mutex>& session_lock);
  void unsubscribe(const std::vector<std::string>& paths);
  void post_event(void (nexel_connection_subscriber::*event)(const std::string&));

  const std::shared_ptr<in_process_network::impl> network_;
  const std::shared_ptr<in_process_link> link_;
  const std::string name_;
  const std::weak_ptr<nexel_connection_subscriber> connection_subscriber_;
  const std::shared_ptr<std::atomic<bool>> open_ = std::make_shared<std::atomic<bool>>(true);
  std::shared_ptr<in_process_session> session_;

  // Taken under a publishing node's mutex: no node is called while it is held.
  std::mutex mutex_;
  subscription_table subscriptions_;
  bool silent_ = false;  // the link was hung at the last call
  bool connected_ = false;
  bool was_hung_ = false;
  bool holding_events_ = false;
  std::vector<json_document> held_events_;
  std::deque<late_delivery> late_;  // in order of time
};

}  // namespace nx
