// A client over a socket. The connection lives on a strand of the I/O thread; calls are sent on
// their callers' threads while it is up, and wait for the strand while it is not.
#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <mutex>
#include <vector>

#include "platform/io/last_calls.h"
#include "platform/nexel_client/client_core.h"
#include "platform/nexel_client/line_stream.h"
#include "platform/nexel_client/live_calls.h"
#include "platform/nexel_client/nexel_address.h"
#include "platform/nexel_client/reconnect_pace.h"
#include "platform/nexel_client/serial_executor.h"
#include "platform/nexel_client/subscription_table.h"
#include "platform/wire/plain_message.h"

namespace nx {

class socket_core : public client_core,
                    public line_stream::owner,
                    public std::enable_shared_from_this<socket_core> {
 public:
  static std::shared_ptr<socket_core> create(
      boost::asio::io_context& io, nexel_address address, std::string name,
      std::weak_ptr<nexel_connection_subscriber> connection_subscriber);
  ~socket_core() override;

  void call(const nexel_request& request) override;
  void subscribe(std::shared_ptr<nexel_subscriber> subscriber) override;
  bool on_io_thread() const override;
  bool is_abandoned() const override { return io_.stopped(); }
  void close() override;

 private:
  using time_point = std::chrono::steady_clock::time_point;
  enum class phase { pausing, connecting, connected, closed };

  socket_core(boost::asio::io_context& io, nexel_address address, std::string name,
              std::weak_ptr<nexel_connection_subscriber> connection_subscriber);

  void send(std::vector<live_calls::call> calls);
  void attend();
  void add_new_subscribers();
  void fail_unconnected(const live_calls::objects& calls);
  void answer(const json_value& message);
  void answer(plain_result& answer);
  void watch_deadline();
  void expire_calls();

  void attempt();
  void attempt_failed(const std::string& reason);
  void attempt_soon();
  void pause();
  void arm_phase_timer(time_point due);
  void phase_timer_fired();
  void lost(const std::string& reason);
  void shut_down();

  std::vector<live_calls::call> due_subscriptions(time_point now);
  void log_nonsense(const std::string& what);
  void watch_silence();
  void watch_subscriptions();
  void tend_subscriptions();

  void stream_opened() override;
  void line_received(std::string_view line) override;
  void stream_ended(const std::string& reason) override;

  void post_event(void (nexel_connection_subscriber::*event)(const std::string&));

  // Set once.
  boost::asio::io_context& io_;
  const last_calls& last_calls_;
  const io_strand strand_;
  const nexel_address address_;
  live_calls calls_;
  const std::string name_;
  const std::weak_ptr<nexel_connection_subscriber> connection_subscriber_;
  const std::shared_ptr<serial_executor> events_ = serial_executor::process_wide();
  const std::shared_ptr<std::atomic<bool>> open_ = std::make_shared<std::atomic<bool>>(true);

  std::mutex new_subscribers_mutex_;
  std::vector<std::shared_ptr<nexel_subscriber>> new_subscribers_;

  // On the strand.
  phase phase_ = phase::pausing;
  std::shared_ptr<line_stream> stream_;
  subscription_table subscriptions_;
  reconnect_pace pace_;
  bool outage_logged_ = false;
  bool nonsense_logged_ = false;  // for this connection
  boost::asio::steady_timer phase_timer_;
  time_point phase_due_{};
  boost::asio::steady_timer deadline_timer_;
  boost::asio::steady_timer subscriptions_timer_;
  bool watching_subscriptions_ = false;
  boost::asio::steady_timer silence_timer_;
  bool watching_silence_ = false;
};

}  // namespace nx
