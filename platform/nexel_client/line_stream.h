// One connection of the socket client: connects, cuts what arrives into lines, and writes. What is
// appended while a write is under way goes out with the next one. All of it on the strand; after
// `close` the owner hears nothing more.
#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/strand.hpp>
#include <memory>
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

  /// An address that cannot be looked up ends the stream at once.
  void connect(const nexel_address& address);
  void close();

  void append(std::string_view line);
  void flush();
  /// Written bytes are still on their way.
  bool writing() const { return writing_; }

 private:
  void connected(const nexel_address& address, const boost::system::error_code& error);
  void read();
  void received(std::size_t size);
  void end(const std::string& reason);

  nexel_address::socket socket_;
  std::weak_ptr<owner> owner_;
  bool closed_ = false;
  std::array<char, 16 * 1024> chunk_;
  line_splitter lines_;
  std::string waiting_;
  std::string in_flight_;
  bool writing_ = false;
};

}  // namespace nx
