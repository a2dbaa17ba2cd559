// The gateway's single connection to the daemon's tree: calls with their answers, and events. It
// connects in the background from `start` on and again whenever the daemon is lost, with growing
// pauses. A daemon is found when it answers, and lost when it does not, whatever its socket says.
//
// On the gateway's thread, which runs the io_context. Handlers are called there and must not throw.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "gateway/settings.h"
#include "platform/nexel_client/line_stream.h"
#include "platform/nexel_client/reconnect_pace.h"
#include "platform/wire/json.h"
#include "platform/wire/nx_error.h"

namespace gateway {

class tree_link : public nx::line_stream::owner, public std::enable_shared_from_this<tree_link> {
 public:
  /// Exactly one of the two is present.
  using answered = std::function<void(const nx::json_value* result, const nx_error* error)>;

  class listener {
   public:
    virtual ~listener() = default;
    virtual void tree_connected() = 0;
    /// `silent`: for how long it had said nothing.
    virtual void tree_lost(std::chrono::milliseconds silent) = 0;
    /// `params` of an "event" message: path, time and value or error.
    virtual void tree_event(const nx::json_value& params) = 0;
    virtual void tree_ended(const std::string& path) = 0;
  };

  /// A call not answered within `bounds.tree_answer` fails with -110.
  static std::shared_ptr<tree_link> create(boost::asio::io_context& io,
                                           const std::string& socket_path, const settings& bounds);

  void start(std::weak_ptr<listener> receiver);
  void stop();

  bool is_up() const { return up_; }
  const std::string& address() const { return address_.text(); }
  /// Calls that have not been answered yet.
  std::size_t waiting() const { return pending_.size(); }

  /// Without a connection the call fails at once, with -107.
  void call(const std::string& method, const std::string& params_text, answered done);

 private:
  using clock = std::chrono::steady_clock;
  struct pending {
    clock::time_point deadline;
    answered done;
  };

  tree_link(boost::asio::io_context& io, const std::string& socket_path, const settings& bounds);

  void attempt();
  void attempt_later();
  void ask(const std::string& method, const std::string& params_text, answered done);
  void watch_silence();
  void probe();
  void found();
  void lose(const std::string& reason, std::chrono::milliseconds silent);
  void watch_deadline();
  void expire();
  void fail_all();
  void receive(const nx::json_value& message);
  void receive_answer(const nx::json_value& message);

  void stream_opened() override;
  void line_received(std::string_view line) override;
  void stream_ended(const std::string& reason) override;

  const nx::io_strand strand_;
  const nx::nexel_address address_;
  const std::chrono::milliseconds patience_;
  const std::chrono::milliseconds silence_;
  std::weak_ptr<listener> listener_;
  std::shared_ptr<nx::line_stream> stream_;
  nx::reconnect_pace pace_;
  boost::asio::steady_timer pause_timer_;
  boost::asio::steady_timer deadline_timer_;
  boost::asio::steady_timer silence_timer_;
  clock::time_point heard_at_;
  bool probing_ = false;
  bool watching_ = false;
  bool up_ = false;
  bool stopped_ = false;
  bool outage_logged_ = false;
  std::uint64_t last_id_ = 0;
  std::map<std::uint64_t, pending> pending_;  // ids rise, and deadlines with them
};

}  // namespace gateway
