// A subscriber of tree nodes: one client connection, or one in-process client. The node classes
// only pass it on; the server and the in-process transport implement it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/value_tree/nx_event.h"

/// A session's own number for one of its subscriptions. Nodes keep it and return it with each
/// event, so that the session finds the subscription without a look-up.
using nx_subscription_number = std::uint64_t;
inline constexpr nx_subscription_number no_subscription = 0;

class nx_session : public std::enable_shared_from_this<nx_session> {
 public:
  virtual ~nx_session() = default;

  /// Asked by a node when the session subscribes to it.
  virtual nx_subscription_number subscription_number(const std::string&) const {
    return no_subscription;
  }

  /// Queues an event; never blocks and never fails, so a session cannot delay a loop. `first` marks
  /// the first event of a subscription, which must not overtake the answer to `subscribe`. Called
  /// from any thread, with the publishing node's mutex held.
  virtual void deliver(nx_event_ptr event, nx_subscription_number subscription, bool first) = 0;

  /// The node is gone without a replacement.
  virtual void subscription_ended(const std::string& path, const std::string& reason) = 0;

  /// A closed session accepts nothing more; nodes drop it.
  virtual bool is_closed() const { return false; }
};
