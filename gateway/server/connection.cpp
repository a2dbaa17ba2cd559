#include "gateway/server/connection.h"

#include <boost/asio/write.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <iterator>
#include <sstream>
#include <type_traits>
#include <utility>

#include "gateway/server/read_failure.h"
#include "platform/note_log/note_log.h"

namespace gateway {

namespace {

namespace http = boost::beast::http;
namespace asio = boost::asio;

/// If a client is refused while it is still sending, closing at once would lose the answer, so its
/// data is read for a while.
constexpr std::chrono::seconds drain_time{2};
constexpr std::size_t drain_bytes = 32 * 1024 * 1024;

}  // namespace

template <class Stream>
connection<Stream>::connection(Stream stream, service& shared)
    : stream_(std::move(stream)),
      shared_(shared),
      deadline_(stream_.get_executor()),
      buffer_(shared.bounds.header_bytes + shared.bounds.body_bytes) {
  shared_.connections.insert(this);
}

template <class Stream>
connection<Stream>::~connection() {
  close();
  shared_.connections.erase(this);
}

template <class Stream>
asio::ip::tcp::socket& connection<Stream>::socket() {
  if constexpr (std::is_same_v<Stream, plain_stream>) {
    return stream_;
  } else {
    return stream_.next_layer();
  }
}

template <class Stream>
void connection<Stream>::start() {
  handshake([this] { await_request(); });
}

template <class Stream>
void connection<Stream>::refuse() {
  refusing_ = true;
  ++shared_.refusals;
  handshake([this] {
    auto refused =
        refusal(503, "More than " + std::to_string(shared_.bounds.connections) + " connections");
    refused.headers.emplace_back("Retry-After", "5");
    give_last(std::move(refused));
  });
}

template <class Stream>
void connection<Stream>::handshake(std::function<void()> then) {
  if constexpr (std::is_same_v<Stream, plain_stream>) {
    then();
  } else {
    set_deadline(shared_.bounds.handshake_time, late::close);
    stream_.async_handshake(
        asio::ssl::stream_base::server,
        [self = this->shared_from_this(), then = std::move(then)](const error_code& error) {
          self->end_deadline();
          if (self->closed_) return;
          if (was_clear_text(error)) return self->refuse_clear_text();
          if (error) return self->close();
          then();
        });
  }
}

// Sent on to https, a client that shows its token in the clear would go on doing so unnoticed.
template <class Stream>
void connection<Stream>::refuse_clear_text() {
  response_.emplace(to_beast(refusal(400, "This port speaks TLS: ask for https://, not http://"),
                             11, false, false));
  response_->set(http::field::date, http_date(shared_.bounds.now()));
  set_deadline(shared_.bounds.stuck_time, late::close);
  http::async_write(socket(), *response_,
                    [self = this->shared_from_this()](const error_code& error, std::size_t) {
                      self->end_deadline();
                      self->response_.reset();
                      if (error || self->closed_) return self->close();
                      self->set_deadline(drain_time, late::close);
                      self->shut_down();
                    });
}

// Between requests a connection may rest longer than a request may take; a new one that asks
// nothing only keeps others out.
template <class Stream>
void connection<Stream>::await_request() {
  parser_.emplace();
  parser_->header_limit(static_cast<std::uint32_t>(shared_.bounds.header_bytes));
  parser_->body_limit(shared_.bounds.body_bytes);
  head_ = false;
  const bool first = std::exchange(first_, false);
  if (buffer_.size() > 0) return read_header();
  set_deadline(first ? shared_.bounds.header_time : shared_.bounds.idle_time, late::close);
  constexpr std::size_t first_bytes = 2048;
  stream_.async_read_some(
      buffer_.prepare(first_bytes),
      [self = this->shared_from_this()](const error_code& error, std::size_t size) {
        self->end_deadline();
        if (error || self->closed_) return self->close();
        self->buffer_.commit(size);
        self->read_header();
      });
}

template <class Stream>
void connection<Stream>::read_header() {
  set_deadline(shared_.bounds.header_time, late::answer);
  http::async_read_header(stream_, buffer_, *parser_,
                          [self = this->shared_from_this()](const error_code& error, std::size_t) {
                            self->header_read(error);
                          });
}

template <class Stream>
void connection<Stream>::header_read(const error_code& error) {
  end_deadline();
  if (closed_) return;
  if (error) return read_failed(error);
  const auto& header = parser_->get();
  if (auto refused = wrong_framing(header, parser_->chunked())) {
    return give_last(std::move(*refused));
  }
  header_fields_ = std::distance(header.begin(), header.end());
  awaits_go_ahead(header) && !parser_->is_done() ? go_ahead() : read_body();
}

template <class Stream>
void connection<Stream>::go_ahead() {
  constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
  set_deadline(shared_.bounds.body_time, late::close);
  asio::async_write(stream_, asio::buffer(text),
                    [self = this->shared_from_this()](const error_code& error, std::size_t) {
                      self->end_deadline();
                      if (error || self->closed_) return self->close();
                      self->read_body();
                    });
}

template <class Stream>
void connection<Stream>::read_body() {
  set_deadline(shared_.bounds.body_time, late::answer);
  http::async_read(stream_, buffer_, *parser_,
                   [self = this->shared_from_this()](const error_code& failed, std::size_t) {
                     self->body_read(failed);
                   });
}

template <class Stream>
void connection<Stream>::body_read(const error_code& error) {
  end_deadline();
  if (closed_) return;
  if (error) return read_failed(error);
  // Fields after a chunked body have now been added to those of the header, where no proxy has
  // checked them.
  const auto& whole = parser_->get();
  if (std::distance(whole.begin(), whole.end()) != header_fields_) {
    return give_last(refusal(400, "A header follows the body"));
  }
  dispatch();
}

template <class Stream>
void connection<Stream>::read_failed(const error_code& error) {
  if (timed_out_) return give_last(too_late(shared_.bounds));
  if (auto told = answer_to_unreadable(error, shared_.bounds)) return give_last(std::move(*told));
  close();
}

template <class Stream>
void connection<Stream>::dispatch() {
  auto read = from_beast(parser_->get());
  head_ = read.asked.asked == method::head;
  if (read.refused) return give_last(std::move(*read.refused));
  auto given = std::make_shared<bool>(false);
  shared_.routes.route(read.asked, [self = this->shared_from_this(), given](answer made) {
    if (!std::exchange(*given, true)) self->give(std::move(made));
  });
}

template <class Stream>
void connection<Stream>::give(answer made) {
  if (closed_) return;
  const bool keep = parser_->get().keep_alive();
  if (made.stream && !head_) return begin_stream(std::move(made));
  if (shared_.answer_bytes + made.body.size() > shared_.bounds.answer_bytes) {
    made = refusal(503, "Answers of " + std::to_string(shared_.bounds.answer_bytes) +
                            " bytes are already waiting for their clients");
  }
  write_answer(std::move(made), keep);
}

template <class Stream>
void connection<Stream>::begin_stream(answer made) {
  if (shared_.streams >= shared_.bounds.event_streams) {
    return write_answer(refusal(503, "More than " + std::to_string(shared_.bounds.event_streams) +
                                         " event streams"),
                        true);
  }
  streaming_ = true;
  ++shared_.streams;
  auto begin = made.stream;
  std::ostringstream header;
  auto head = to_beast(std::move(made), parser_->get().version(), false, false);
  head.set(http::field::date, http_date(shared_.bounds.now()));
  header << head.base();
  watch_for_end();
  write(std::make_shared<const std::string>(header.str()),
        [this, begin = std::move(begin)] { begin(this->shared_from_this()); });
}

// Data that a client sends on an event stream is ignored; only the end of the connection matters.
template <class Stream>
void connection<Stream>::watch_for_end() {
  stream_.async_read_some(asio::buffer(ignored_),
                          [self = this->shared_from_this()](const error_code& error, std::size_t) {
                            if (error || self->closed_) return self->close();
                            self->watch_for_end();
                          });
}

template <class Stream>
void connection<Stream>::write(std::shared_ptr<const std::string> bytes,
                               std::function<void()> done) {
  if (closed_) return;
  set_deadline(shared_.bounds.stuck_time, late::close);
  asio::async_write(stream_, asio::buffer(*bytes),
                    [self = this->shared_from_this(), bytes, done = std::move(done)](
                        const error_code& error, std::size_t) {
                      self->end_deadline();
                      if (error) return self->close();
                      if (!self->closed_) done();
                    });
}

template <class Stream>
void connection<Stream>::write_answer(answer made, bool keep_alive) {
  counted_bytes_ = made.body.size();
  shared_.answer_bytes += counted_bytes_;
  const unsigned version = parser_ && parser_->is_header_done() ? parser_->get().version() : 11;
  response_.emplace(to_beast(std::move(made), version, keep_alive, head_));
  response_->set(http::field::date, http_date(shared_.bounds.now()));
  set_deadline(shared_.bounds.stuck_time, late::close);
  http::async_write(
      stream_, *response_,
      [self = this->shared_from_this(), keep_alive](const error_code& error, std::size_t) {
        self->end_deadline();
        self->shared_.answer_bytes -= std::exchange(self->counted_bytes_, 0);
        self->response_.reset();
        if (error || self->closed_) return self->close();
        self->answer_written(keep_alive);
      });
}

template <class Stream>
void connection<Stream>::answer_written(bool keep_alive) {
  if (keep_alive) return await_request();
  end();
}

// A client of TLS takes an end that nobody has announced for an answer cut short on its way.
template <class Stream>
void connection<Stream>::end() {
  set_deadline(drain_time, late::close);
  if constexpr (std::is_same_v<Stream, plain_stream>) {
    shut_down();
  } else {
    stream_.async_shutdown([self = this->shared_from_this()](const error_code&) {
      if (!self->closed_) self->shut_down();
    });
  }
}

template <class Stream>
void connection<Stream>::shut_down() {
  error_code ignored;
  socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
  drain();
}

template <class Stream>
void connection<Stream>::give_last(answer made) {
  write_answer(std::move(made), false);
}

template <class Stream>
void connection<Stream>::drain() {
  socket().async_read_some(asio::buffer(ignored_), [self = this->shared_from_this()](
                                                       const error_code& error, std::size_t size) {
    self->drained_bytes_ += size;
    if (error || self->closed_ || self->drained_bytes_ > drain_bytes) return self->close();
    self->drain();
  });
}

template <class Stream>
void connection<Stream>::set_deadline(std::chrono::milliseconds time, late how) {
  timed_out_ = false;
  late_ = how;
  deadline_.expires_after(time);
  deadline_.async_wait([weak = this->weak_from_this()](const error_code& error) {
    const auto self = weak.lock();
    if (!self || error || self->late_ == late::nothing) return;
    // It was set again while this was on its way.
    if (self->deadline_.expiry() > std::chrono::steady_clock::now()) return;
    if (self->late_ == late::close) {
      if (self->streaming_ || self->response_) {
        note_log::write(note_log::warning, "gateway",
                        self->streaming_ ? "Closed an event stream whose client does not read"
                                         : "Closed a connection whose client does not read");
      }
      return self->close();
    }
    self->timed_out_ = true;
    error_code ignored;
    self->socket().cancel(ignored);
  });
}

template <class Stream>
void connection<Stream>::end_deadline() {
  late_ = late::nothing;
  deadline_.cancel();
}

template <class Stream>
void connection<Stream>::close() {
  if (std::exchange(closed_, true)) return;
  late_ = late::nothing;
  deadline_.cancel();
  error_code ignored;
  socket().close(ignored);
  shared_.answer_bytes -= std::exchange(counted_bytes_, 0);
  if (streaming_) --shared_.streams;
  if (refusing_) --shared_.refusals;
  if (const auto told = std::exchange(closed_told_, nullptr)) told();
}

template class connection<plain_stream>;
template class connection<tls_stream>;

}  // namespace gateway
