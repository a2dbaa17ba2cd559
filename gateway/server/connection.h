// One client connection: reads requests one after the other within limits of size and time, passes
// each to the router and writes its answer; or becomes an event stream. A deadline applies to a
// whole step, however slowly bytes trickle in.
//
// Stream is a TCP socket or TLS over one. On the gateway's thread.
#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <memory>
#include <optional>

#include "gateway/http/beast_message.h"
#include "gateway/server/service.h"

namespace gateway {

using plain_stream = boost::asio::ip::tcp::socket;
using tls_stream = boost::asio::ssl::stream<boost::asio::ip::tcp::socket>;

template <class Stream>
class connection final : public byte_sink,
                         public open_connection,
                         public std::enable_shared_from_this<connection<Stream>> {
 public:
  connection(Stream stream, service& shared);
  ~connection() override;

  void start();
  /// Answers that there are too many connections, and closes.
  void refuse();

  void close() override;
  void write(std::shared_ptr<const std::string> bytes, std::function<void()> done) override;
  void on_close(std::function<void()> closed) override { closed_told_ = std::move(closed); }

 private:
  using error_code = boost::system::error_code;
  using parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
  enum class late { nothing, close, answer };

  boost::asio::ip::tcp::socket& socket();
  void handshake(std::function<void()> then);
  void shake_hands(std::function<void()> then);
  void refuse_clear_text();
  void await_request();
  void read_header();
  void header_read(const error_code& error);
  void go_ahead();
  void read_body();
  void body_read(const error_code& error);
  void read_failed(const error_code& error);
  void dispatch();
  void give(answer made);
  void begin_stream(answer made);
  void watch_for_end();
  void write_answer(answer made, bool keep_alive);
  void answer_written(bool keep_alive);
  void end();
  void shut_down();
  void give_last(answer made);
  void drain();

  void set_deadline(std::chrono::milliseconds time, late how);
  void end_deadline();

  Stream stream_;
  service& shared_;
  boost::asio::steady_timer deadline_;
  late late_ = late::nothing;
  bool timed_out_ = false;
  bool closed_ = false;
  bool refusing_ = false;
  bool streaming_ = false;
  bool head_ = false;
  bool first_ = true;  ///< no request yet
  std::ptrdiff_t header_fields_ = 0;
  std::size_t counted_bytes_ = 0;
  std::size_t drained_bytes_ = 0;
  boost::beast::flat_buffer buffer_;
  std::optional<parser> parser_;
  std::optional<beast_response> response_;
  std::array<char, 4096> ignored_;
  std::function<void()> closed_told_;
};

extern template class connection<plain_stream>;
extern template class connection<tls_stream>;

}  // namespace gateway
