// One client of /api/v1/events: present values first, then changes, collected for a moment, and a
// heartbeat. It keeps its position in topics shared with other clients and has no queue of its own.
// On the gateway's thread.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "gateway/http/byte_sink.h"
#include "gateway/tree/tree_mirror.h"

namespace gateway {

class event_stream : public mirror_watcher, public std::enable_shared_from_this<event_stream> {
 public:
  /// `last_id` is the time of the last event that the client has seen; empty for a new client.
  static void start(std::shared_ptr<byte_sink> sink, std::shared_ptr<tree_mirror> mirror,
                    const settings& bounds, boost::asio::io_context& io,
                    std::vector<std::shared_ptr<topic>> topics, std::string last_id);
  ~event_stream() override;

 private:
  struct cursor {
    std::shared_ptr<topic> of;
    bool begun = false;
    topic::number sent = 0;
    topic::number joined = 0;
  };
  /// Events between the client's last one and now, collected while the histories are fetched.
  struct resuming;

  event_stream(std::shared_ptr<byte_sink> sink, std::shared_ptr<tree_mirror> mirror,
               const settings& bounds, boost::asio::io_context& io,
               std::vector<std::shared_ptr<topic>> topics, std::string last_id);

  void mirror_changed() override { flush(); }
  void flush();
  void gather();
  void gather_link();
  void resume();
  std::vector<std::string> resumed_paths() const;
  void history_arrived(resuming& found, const std::string& path, const nx::json_value* result);
  void write_next();
  void beat();
  void closed();

  std::shared_ptr<byte_sink> sink_;
  const std::shared_ptr<tree_mirror> mirror_;
  const settings& settings_;
  std::vector<cursor> cursors_;
  std::string last_id_;
  bool resuming_ = false;
  unsigned told_link_changes_ = 0;
  bool link_told_ = false;
  std::deque<std::shared_ptr<const std::string>> out_;
  bool writing_ = false;
  boost::asio::steady_timer heartbeat_;
};

}  // namespace gateway
