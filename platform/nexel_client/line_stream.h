// One connection of the socket client: connects, splits incoming data into lines, and writes. Data
// sent while the socket is full is sent in one piece once the socket accepts more. Used on the
// strand unless stated otherwise; after `close` the owner is not called any more.
#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/strand.hpp>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/nexel_client/nexel_address.h"
#include "platform/wire/line_splitter.h"

namespace nx {

using io_strand = boost::asio::strand<boost::asio::io_context::executor_type>;

class line_stream : public std::enable_shared_from_this<line_stream> {
 public:
  class owner {
   public:
    virtual ~owner() = default;
    virtual void stream_opened() = 0;
    virtual void line_received(std::string_view line) = 0;
    /// The attempt failed or the connection ended.
    virtual void stream_ended(const std::string& reason) = 0;
  };

  line_stream(const io_strand& strand, std::weak_ptr<owner> receiver);

  /// If an address cannot be looked up, the stream ends at once.
  void connect(const nexel_address& address);
  void close();

  /// Whole lines, each with its line end. Any thread, as `writing`; never blocks. A failure ends
  /// the stream on the strand.
  void send(std::string_view lines);
  /// Sent data is still waiting for the socket.
  bool writing() const;

 private:
  void connected(const nexel_address& address, const boost::system::error_code& error);
  void read();
  void received(std::size_t size);
  void end(const std::string& reason);
  void write_waiting();
  void written(const boost::system::error_code& error);

  std::weak_ptr<owner> owner_;
  std::array<char, 16 * 1024> chunk_;
  line_splitter lines_;
  std::string in_flight_;

  // Guards the output and the socket's lifetime; only the strand writes `closed_` and opens or
  // closes.
  mutable std::mutex output_mutex_;
  nexel_address::socket socket_;
  bool closed_ = false;
  std::string waiting_;
  bool writing_ = false;
};

}  // namespace nx
