// Accepts the connections of one listening socket. On the I/O thread.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>

#include "platform/value_tree/server/owned_fd.h"

namespace nx {

class listener : public std::enable_shared_from_this<listener> {
 public:
  using accepted_callback = std::function<void(owned_fd connection)>;

  /// `a_second`: maximum number of connections accepted per second, the others wait; 0: no limit.
  listener(boost::asio::io_context& io, owned_fd listening, accepted_callback accepted,
           unsigned a_second = 0);
  void start();
  void stop();

 private:
  void wait();
  void accept_some();
  bool may_accept();
  void pause(std::chrono::milliseconds time);

  boost::asio::posix::stream_descriptor listening_;
  boost::asio::steady_timer pause_;
  accepted_callback accepted_;
  const unsigned a_second_;
  double saved_ = 0;  // connections that may still be accepted at once
  std::chrono::steady_clock::time_point saved_at_{};
};

}  // namespace nx
