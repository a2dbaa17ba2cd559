// Accepts the connections of one listening socket. On the I/O thread.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>

#include "platform/value_tree/server/owned_fd.h"

namespace nx {

class listener : public std::enable_shared_from_this<listener> {
 public:
  using accepted_callback = std::function<void(owned_fd connection)>;

  listener(boost::asio::io_context& io, owned_fd listening, accepted_callback accepted);
  void start();
  void stop();

 private:
  void wait();
  void accept_all();

  boost::asio::posix::stream_descriptor listening_;
  boost::asio::steady_timer pause_;
  accepted_callback accepted_;
};

}  // namespace nx
