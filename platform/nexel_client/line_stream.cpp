#include "platform/nexel_client/line_stream.h"

#include <sys/socket.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>

#include "platform/note_log/note_log.h"
#include "platform/wire/limits.h"

namespace nx {

using boost::system::error_code;

line_stream::line_stream(const io_strand& strand, std::weak_ptr<owner> receiver)
    : owner_(std::move(receiver)), lines_(limits::output_bytes_per_session), socket_(strand) {}

void line_stream::connect(const nexel_address& address) {
  nexel_address::endpoint endpoint;
  try {
    endpoint = address.resolve();
  } catch (const boost::system::system_error& error) {
    return end(error.what());
  }
  socket_.async_connect(endpoint, [self = shared_from_this(), address](const error_code& error) {
    self->connected(address, error);
  });
}

void line_stream::connected(const nexel_address& address, const error_code& error) {
  if (closed_) return;
  if (error) return end(error.message());
  // A unix socket with a full backlog reports success without having a peer.
  error_code no_peer;
  socket_.remote_endpoint(no_peer);
  if (no_peer) return end(no_peer.message());
  address.prepare(socket_);
  auto receiver = owner_.lock();
  if (!receiver) return;
  read();
  receiver->stream_opened();
}

void line_stream::close() {
  const std::lock_guard lock(output_mutex_);
  closed_ = true;
  error_code ignored;
  socket_.close(ignored);
}

bool line_stream::writing() const {
  const std::lock_guard lock(output_mutex_);
  return writing_;
}

void line_stream::send(std::string_view lines) {
  const std::lock_guard lock(output_mutex_);
  if (closed_) return;
  if (writing_) {
    waiting_ += lines;
    return;
  }
  const auto taken =
      ::send(socket_.native_handle(), lines.data(), lines.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  lines.remove_prefix(taken > 0 ? static_cast<std::size_t>(taken) : 0);
  if (lines.empty()) return;
  // The strand writes the rest, and sees the error if there was one.
  waiting_ = lines;
  writing_ = true;
  boost::asio::post(socket_.get_executor(), [self = shared_from_this()] { self->write_waiting(); });
}

void line_stream::write_waiting() {
  const std::lock_guard lock(output_mutex_);
  if (closed_) return;
  in_flight_.clear();
  in_flight_.swap(waiting_);
  boost::asio::async_write(
      socket_, boost::asio::buffer(in_flight_),
      [self = shared_from_this()](const error_code& error, std::size_t) { self->written(error); });
}

void line_stream::written(const error_code& error) {
  if (error) return end(error.message());
  bool more = false;
  {
    const std::lock_guard lock(output_mutex_);
    writing_ = more = !waiting_.empty();
  }
  if (more) write_waiting();
}

void line_stream::read() {
  socket_.async_read_some(boost::asio::buffer(chunk_),
                          [self = shared_from_this()](const error_code& error, std::size_t size) {
                            if (self->closed_) return;
                            if (error) return self->end(error.message());
                            self->received(size);
                          });
}

void line_stream::received(std::size_t size) {
  auto receiver = owner_.lock();
  if (!receiver) return;
  lines_.append({chunk_.data(), size});
  while (auto line = lines_.next()) {
    if (line->too_long) {
      note_log::write(note_log::error, "nexel_client", "A line beyond the limit was skipped",
                      note_log::folding::repeats);
    } else {
      receiver->line_received(line->text);
    }
    if (closed_) return;
  }
  read();
}

void line_stream::end(const std::string& reason) {
  if (closed_) return;
  close();
  if (auto receiver = owner_.lock()) receiver->stream_ended(reason);
}

}  // namespace nx
