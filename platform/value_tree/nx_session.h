// A subscriber of tree nodes: one client connection, or one in-process client. The node classes
// only hand it on; the server and the in-process transport implement it.
#pragma once

#include <memory>
#include <string>

/// One event line, written once and shared by all sessions that it goes to.
struct nx_event {
  std::string path;
  std::string line;  ///< the whole JSON-RPC message, without the line end
};

class nx_session : public std::enable_shared_from_this<nx_session> {
 public:
  virtual ~nx_session() = default;

  /// Queues an event; never blocks and never fails, so a loop is not held up by a session. `first`
  /// marks the first event of a subscription, which must not overtake the answer to `subscribe`.
  /// Called from any thread, with the mutex of the publishing node held.
  virtual void deliver(std::shared_ptr<const nx_event> event, bool first) = 0;

  /// The node is gone and nothing takes its place.
  virtual void subscription_ended(const std::string& path, const std::string& reason) = 0;

  /// A closed session takes nothing more; nodes let go of it.
  virtual bool is_closed() const { return false; }
};
