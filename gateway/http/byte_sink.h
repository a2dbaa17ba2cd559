// The output of an event stream: its client's connection. On the gateway's thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace gateway {

class byte_sink {
 public:
  virtual ~byte_sink() = default;
  /// One write at a time. `done` is called once it has been sent, and never after the sink has
  /// closed.
  virtual void write(std::shared_ptr<const std::string> bytes, std::function<void()> done) = 0;
  virtual void close() = 0;
  /// Called once when the client is gone, or has taken nothing for too long.
  virtual void on_close(std::function<void()> closed) = 0;
};

}  // namespace gateway
